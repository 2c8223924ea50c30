"""Finds what changed between two versions of the schema. What it means is said in rules.py."""

import dataclasses

import field_types
from google.protobuf import descriptor_pb2
from pairing import (Pairs, misplaced, name_of, new_type_names, number_and_name_of, number_of,
                     pair, shape_of, values_of)

# What is compared piece by piece. A difference in anything else has no words, but is not missed.
COMPARED = {
    descriptor_pb2.FileDescriptorProto: (
        "name package syntax dependency message_type enum_type options"),
    descriptor_pb2.DescriptorProto: "name field nested_type enum_type oneof_decl options",
    descriptor_pb2.FieldDescriptorProto: (
        "name number label type type_name oneof_index json_name proto3_optional options"),
    descriptor_pb2.OneofDescriptorProto: "name options",
    descriptor_pb2.EnumDescriptorProto: "name value options",
    descriptor_pb2.EnumValueDescriptorProto: "name number options",
}


@dataclasses.dataclass(frozen=True)
class Change:
    """One difference: the name of its rule, where it is, and what the rule's texts mention."""
    kind: str
    place: str
    facts: dict


def camel(name):
    return "".join(part[:1].upper() + part[1:] for part in name.split("_"))


def is_map_entry(message):
    return message.options.map_entry


def flattened(messages, scope=""):
    """Names in the order in which the generated classes are numbered: nested ones first."""
    for message in messages:
        path = scope + message.name
        yield from flattened(message.nested_type, path + ".")
        yield path


def oneof_of(field, message):
    """The oneof that a person wrote; the invisible one of an `optional` field does not count."""
    if field.HasField("oneof_index") and not field.proto3_optional:
        return message.oneof_decl[field.oneof_index].name
    return None


def written_oneofs(message):
    names = [oneof_of(field, message) for field in message.field]
    return [oneof for oneof in message.oneof_decl if oneof.name in names]


class Comparison:
    """Collects the changes from one descriptor set to another.

    `retired` says of (full name of a message or enum, number) why nobody may take that number.
    """

    def __init__(self, old, new, retired):
        self.changes = []
        self.retired = retired
        self.new_names = new_type_names(old, new)
        files = pair(old.file, new.file, name_of)
        for file in files.removed:
            self.add("file_removed", file.name)
        for file in files.added:
            self.add("file_added", file.name)
        for before, after in files.same:
            self.file(before, after)

    def add(self, kind, place, **facts):
        self.changes.append(Change(kind, place, facts))

    def file(self, old, new):
        place = old.name
        if old.package != new.package:
            self.add("package_changed", place, old=old.package, new=new.package)
        if old.syntax != new.syntax:
            self.add("syntax_changed", place, old=old.syntax or "proto2",
                     new=new.syntax or "proto2")
        self.imports(old, new)
        root = f".{old.package}."
        self.enums(old.enum_type, new.enum_type, place, root)
        renamed = self.messages(old.message_type, new.message_type, place, root)
        self.indices(old, new, renamed)
        self.options(old, new, place)
        self.rest(old, new, place)

    def imports(self, old, new):
        before, after = list(old.dependency), list(new.dependency)
        for name in before:
            if name not in after:
                self.add("import_removed", old.name, name=name)
        for name in after:
            if name not in before:
                self.add("import_added", old.name, name=name)
        kept = [name for name in before if name in after]
        if after[:len(kept)] != kept:
            self.add("import_order", old.name, old=", ".join(before), new=", ".join(after))

    def indices(self, old, new, renamed):
        """The index of a class in its file is a constant that programs are compiled with."""
        before = [renamed.get(name, name) for name in flattened(old.message_type)]
        after = list(flattened(new.message_type))
        moved = [f"{name} from {before.index(name)} to {after.index(name)}"
                 for name in before if name in after and before.index(name) != after.index(name)]
        if moved:
            more = f" and {len(moved) - 3} more" if len(moved) > 3 else ""
            self.add("message_order", old.name, moved=", ".join(moved[:3]) + more)

    def messages(self, old, new, place, root):
        """Compares messages of one scope. Returns the new names of those that were renamed."""
        pairs = pair(old, new, name_of)
        again = pair(pairs.removed, pairs.added, shape_of)
        renamed = {}
        for before, after in again.same:
            renamed[before.name] = after.name
            if not is_map_entry(before):
                self.add("message_renamed", place, old=before.name, new=after.name)
        # A map's entry comes and goes with its field, which is reported.
        for message in again.removed:
            if not is_map_entry(message):
                self.add("message_removed", place, name=message.name)
        for message in again.added:
            if not is_map_entry(message):
                self.add("message_added", place, name=message.name)
                for field in message.field:
                    self.number(field, set(), root + message.name, f"{place}, {message.name}",
                                "field")
        for before, after in pairs.same + again.same:
            self.message(before, after, f"{place}, {before.name}", root + before.name)
        return renamed

    def message(self, old, new, place, full_name):
        root = full_name + "."
        self.enums(old.enum_type, new.enum_type, place, root)
        self.messages(old.nested_type, new.nested_type, place, root)
        fields = pair(old.field, new.field, number_and_name_of, name_of, number_of)
        oneofs = self.oneofs(old, new, fields, place)
        for field in fields.removed:
            self.add("field_removed", place, name=field.name, number=field.number,
                     json=field.json_name, setter=field_types.setter(field),
                     camel=camel(field.name))
        for field in fields.added:
            self.field_added(field, old, new, place, full_name)
        for before, after in fields.same:
            self.field_names(before, after, old, place, full_name)
            self.field_type(before, after, old, new, place)
            self.field_oneof(before, after, oneof_of(before, old), oneof_of(after, new), oneofs,
                             place)
            self.options(before, after, f'{place}, field "{before.name}"')
            self.rest(before, after, f'{place}, field "{before.name}"')
        self.order(old.field, new.field, fields, place, "field",
                   group=lambda field: oneof_of(field, new))
        self.options(old, new, place)
        self.rest(old, new, place)

    def oneofs(self, old, new, fields, place):
        """Compares the oneofs themselves. Returns what each old one is called now."""
        pairs = pair(written_oneofs(old), written_oneofs(new), name_of)
        partner = {before.number: after for before, after in fields.same}
        for before in list(pairs.removed):
            members = [field for field in old.field if oneof_of(field, old) == before.name]
            now = {oneof_of(partner[field.number], new)
                   for field in members if field.number in partner}
            after = next((oneof for oneof in pairs.added if now == {oneof.name}), None)
            if after is not None:
                pairs.same.append((before, after))
                pairs.removed.remove(before)
                pairs.added.remove(after)
                self.add("oneof_renamed", place, old=before.name, new=after.name,
                         camel_old=camel(before.name), camel_new=camel(after.name))
        self.order(written_oneofs(old), written_oneofs(new), pairs, place, "oneof")
        for before, after in pairs.same:
            self.options(before, after, f'{place}, oneof "{before.name}"')
            self.rest(before, after, f'{place}, oneof "{before.name}"')
        return {before.name: after.name for before, after in pairs.same}

    def field_added(self, field, old, new, place, full_name):
        used = {before.number: before.name for before in old.field}
        facts = {"name": field.name, "number": field.number, "json": field.json_name}
        if not self.number(field, used, full_name, place, "field"):
            return
        oneof = oneof_of(field, new)
        if oneof in map(name_of, old.oneof_decl):
            self.add("oneof_member_added", place, oneof=oneof, **facts)
        else:
            self.add("field_added", place, **facts)

    def number(self, element, used, full_name, place, what):
        """Says whether a new element's number is fit to be given out."""
        facts = {"what": what, "name": element.name, "number": element.number}
        key = (full_name.lstrip("."), element.number)
        if key in self.retired:
            self.add("number_retired", place, reason=self.retired[key], **facts)
        elif element.number in used:
            self.add("number_reused", place, owner=used[element.number], **facts)
        elif used and element.number < max(used):
            self.add("number_in_gap", place, highest=max(used), **facts)
        else:
            return True
        return False

    def field_names(self, old, new, message, place, full_name):
        facts = {"old": old.name, "new": new.name, "old_json": old.json_name,
                 "new_json": new.json_name, "camel_old": camel(old.name),
                 "camel_new": camel(new.name),
                 "old_setter": field_types.setter(old), "new_setter": field_types.setter(new)}
        if old.name != new.name:
            kind = "field_renamed"
            if old.json_name == new.json_name:
                kind = "field_renamed_same_json"
            self.add(kind, place, number=old.number, **facts)
        elif old.json_name != new.json_name:
            self.add("json_name_changed", place, **facts)
        if old.number != new.number:
            owner = next((f.name for f in message.field if f.number == new.number), None)
            self.add("field_renumbered_onto" if owner else "field_renumbered", place,
                     name=old.name, old=old.number, new=new.number, camel=camel(old.name),
                     owner=owner)
            if owner is None:
                self.number(new, {f.number: f.name for f in message.field}, full_name, place,
                            "field")

    def field_type(self, old, new, old_message, new_message, place):
        before = field_types.cardinality(old, old_message)
        after = field_types.cardinality(new, new_message)
        if before != after:
            self.add(field_types.cardinality_change(old, new, before, after), place,
                     name=new.name, old=before, new=after, camel=camel(new.name))
        if "a map" in (before, after):
            return  # Its entry is compared as a message.
        expected = self.new_names.get(old.type_name, old.type_name)
        if old.type != new.type or expected != new.type_name:
            self.add(field_types.type_change(old, new), place, name=new.name,
                     **field_types.type_facts(old, new))

    def field_oneof(self, old, new, before, after, oneofs, place):
        if before is not None:
            before = oneofs.get(before, before)
        if before == after:
            return
        if before is None:
            kind = "moved_into_oneof"
        elif after is None:
            kind = "moved_out_of_oneof"
        else:
            kind = "moved_to_other_oneof"
        self.add(kind, place, name=new.name, number=new.number, old=before, new=after)

    def enums(self, old, new, place, root):
        pairs = pair(old, new, name_of)
        again = pair(pairs.removed, pairs.added, values_of)
        for before, after in again.same:
            self.add("enum_renamed", place, old=before.name, new=after.name)
        for enum in again.removed:
            self.add("enum_removed", place, name=enum.name)
        for enum in again.added:
            self.add("enum_added", place, name=enum.name)
        both = Pairs(pairs.same + again.same, again.removed, again.added)
        self.order(old, new, both, place, "enum")
        for before, after in both.same:
            self.enum(before, after, f"{place}, enum {before.name}", root + before.name)

    def enum(self, old, new, place, full_name):
        values = pair(old.value, new.value, number_and_name_of, name_of, number_of)
        used = {value.number: value.name for value in old.value}
        for value in values.removed:
            self.add("value_removed", place, name=value.name, number=value.number)
        for value in values.added:
            if self.number(value, used, full_name, place, "value"):
                self.add("value_added", place, name=value.name, number=value.number)
        for before, after in values.same:
            if before.name != after.name:
                self.add("value_renamed", place, old=before.name, new=after.name,
                         number=before.number)
            if before.number != after.number:
                self.add("value_renumbered", place, name=before.name, old=before.number,
                         new=after.number,
                         taken_for=used.get(after.number, "a value without a name"))
                if after.number not in used:
                    self.number(after, used, full_name, place, "value")
            self.options(before, after, f"{place}, value {before.name}")
            self.rest(before, after, f"{place}, value {before.name}")
        self.order(old.value, new.value, values, place, "value")
        self.options(old, new, place)
        self.rest(old, new, place)

    def order(self, old, new, pairs, place, what, **group):
        names = misplaced(old, new, pairs, **group)
        if names:
            self.add(f"{what}_order", place, names=", ".join(names))

    def options(self, old, new, place):
        before = {option.name: value for option, value in old.options.ListFields()}
        after = {option.name: value for option, value in new.options.ListFields()}
        for name in sorted(before.keys() | after.keys()):
            if name != "map_entry" and before.get(name) != after.get(name):
                self.add("option_changed", place, option=name,
                         old=before.get(name, "not set"), new=after.get(name, "not set"))

    def rest(self, old, new, place):
        if self._uncompared(old) != self._uncompared(new):
            self.add("unrecognised", place)

    @staticmethod
    def _uncompared(element):
        copy = type(element)()
        copy.CopyFrom(element)
        for name in COMPARED[type(element)].split():
            copy.ClearField(name)
        return copy.SerializeToString(deterministic=True)


def compare(old, new, retired):
    return Comparison(old, new, retired).changes
