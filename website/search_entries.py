"""The entries of the search: messages, fields, enums, their values, and headings of the guides."""


def of_schema(model, url):
    """Entries for all declarations. `url` gives the address of a declaration."""
    for message in model.messages:
        yield _entry("message", message.name, message.qualified_name, message.comment, url(message),
                     names=message.full_name)
        for field in message.fields:
            yield _entry("field", field.short_name, f"{field.type_name}, field {field.number}",
                         field.comment, url(field), names=f"{field.json_name} {field.full_name}",
                         wire=f"field {field.number} tag {field.tag_hex}", tag=field.tag.hex())
        for oneof in message.oneofs:
            yield _entry("oneof", f"{message.name}.{oneof.name}", "oneof", oneof.comment,
                         url(message))
    for enum in model.enums:
        yield _entry("enum", enum.name, enum.qualified_name, enum.comment, url(enum),
                     names=enum.full_name)
        for value in enum.values:
            yield _entry("value", f"{enum.name}.{value.name}", f"value {value.number}",
                         value.comment, url(value), names=value.full_name,
                         wire=f"value {value.number}")


def of_guides(guides):
    for guide in guides:
        for level, title, anchor, text in guide.headings:
            address = guide.page if level == 1 else f"{guide.page}#{anchor}"
            yield _entry("guide", title, "guide" if level == 1 else guide.title, text, address)


def _entry(kind, title, context, text, url, **more):
    return {"kind": kind, "title": title, "context": context, "text": text.replace("`", ""),
            "url": url, **more}
