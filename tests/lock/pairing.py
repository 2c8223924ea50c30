"""Which element of the old schema is which one of the new, and whether their order held."""

import dataclasses


@dataclasses.dataclass
class Pairs:
    same: list
    removed: list
    added: list


def pair(old, new, *keys):
    """Pairs elements that agree in the first key, of the rest those that agree in the next."""
    same, old, new = [], list(old), list(new)
    for key in keys:
        for before in list(old):
            after = next((element for element in new if key(element) == key(before)), None)
            if after is not None:
                same.append((before, after))
                old.remove(before)
                new.remove(after)
    return Pairs(same, old, new)


def name_of(element):
    return element.name


def number_of(element):
    return element.number


def number_and_name_of(element):
    return element.number, element.name


def shape_of(message):
    """What a message is known by under another name."""
    return ([(field.number, field.type, field.label) for field in message.field],
            len(message.nested_type))


def values_of(enum):
    return [(value.number, value.name) for value in enum.value]


def misplaced(old, new, pairs, group=lambda element: None):
    """Names of what stands before something that it stood behind, or that was there first.

    A new element comes last; one of a group (a oneof) that was there, last in its group.
    """
    was_at = {after.name: list(old).index(before) for before, after in pairs.same}
    kept = [element for element in new if element.name in was_at]
    found = [after.name for before, after in zip(kept, kept[1:])
             if was_at[after.name] < was_at[before.name]]
    names = list(map(name_of, new))
    for element in pairs.added:
        rivals = kept
        if group(element) is not None:
            rivals = [other for other in kept if group(other) == group(element)] or kept
        if any(names.index(other.name) > names.index(element.name) for other in rivals):
            found.append(element.name)
    return found


def new_type_names(old, new):
    """What the types of the old set are called in the new one, as fields refer to them."""
    found = {}

    def visit(before, after, messages, old_root, new_root):
        types = pair(getattr(before, messages), getattr(after, messages), name_of, shape_of).same
        enums = pair(before.enum_type, after.enum_type, name_of, values_of).same
        for old_type, new_type in types + enums:
            found[old_root + old_type.name] = new_root + new_type.name
        for old_type, new_type in types:
            visit(old_type, new_type, "nested_type", f"{old_root}{old_type.name}.",
                  f"{new_root}{new_type.name}.")

    for old_file, new_file in pair(old.file, new.file, name_of).same:
        visit(old_file, new_file, "message_type", f".{old_file.package}.", f".{new_file.package}.")
    return found
