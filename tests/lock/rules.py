"""What each kind of change does, and to whom. compare.py finds the changes."""

import dataclasses

BREAKING, ALLOWED = "BREAKING", "allowed"


@dataclasses.dataclass(frozen=True)
class Rule:
    """The texts of one kind of change; {names} in them are facts of the change.

    Readers and writers are programs of before the change that meet programs of after it. Who is
    not concerned has no text.
    """
    verdict: str
    what: str
    bytes: str = ""
    readers: str = ""
    writers: str = ""
    json: str = ""
    cpp: str = ""


LABELS = {
    "bytes": "The bytes",
    "readers": "Old readers",
    "writers": "Old writers",
    "json": "JSON users:",
    "cpp": "The C++ API:",
}

BYTES_STAY = "stay the same: names and order are not in them, only numbers and values."
REUSE = Rule(
    BREAKING, "",
    readers="that still know the number's earlier meaning take the new content for it.",
    writers="that still send the earlier content are misread: it arrives as {name}.")

FILES = {
    "file_added": Rule(
        ALLOWED, "is a new file.",
        cpp="A new header and new classes; what was there is untouched."),
    "file_removed": Rule(
        BREAKING, "is gone.",
        readers="still expect its messages.",
        writers="still send its messages; nobody can name their type any more.",
        cpp="The header made from {place} is gone, with all its classes: programs that include it "
            "no longer compile, and built ones miss the exported names."),
    "package_changed": Rule(
        BREAKING, "is in package {new} now instead of {old}.",
        bytes="of plain messages stay the same; a google.protobuf.Any names its content by package "
              "and is not understood across the change.",
        json="An Any names its type in \"@type\"; that name changes.",
        cpp="The classes move to another namespace: every program that uses one has to be "
            "rewritten, and built ones miss the exported names."),
    "syntax_changed": Rule(
        BREAKING, "is written in {new} now instead of {old}.",
        bytes="of absent, zero, repeated and unknown enum values follow other rules.",
        readers="may miss zeros that are left out or find some that are written on top.",
        writers="may leave out what new readers require.",
        cpp="Fields gain or lose has_ functions; enum values that are not declared are treated in "
            "another way."),
    "import_added": Rule(
        ALLOWED, "imports {name} now.",
        cpp="The generated header includes one more header; whoever generates code from the schema "
            "file needs {name} too."),
    "import_removed": Rule(
        BREAKING, "no longer imports {name}.",
        cpp="The generated header no longer includes the one of {name}: programs that got it that "
            "way no longer compile."),
    "import_order": Rule(
        BREAKING, "lists its imports in another order: {new}; it was {old}.",
        bytes=BYTES_STAY,
        cpp="FileDescriptor::dependency(i) and the exported descriptor table name other files "
            "under the same index."),
}

TYPES = {
    "message_added": Rule(
        ALLOWED, "message {name} is new.",
        readers="do not know it; they meet it only in fields that are new as well.",
        cpp="One more class; what was there is untouched."),
    "message_removed": Rule(
        BREAKING, "message {name} is gone.",
        readers="wait for it in vain.",
        writers="still send it, and no new reader understands it.",
        json="The same: nobody reads or writes it.",
        cpp="Its class is gone: programs that use it no longer compile, and built ones miss the "
            "exported names."),
    "message_renamed": Rule(
        BREAKING, "message {old} is called {new} now.",
        bytes="stay the same; a google.protobuf.Any names its content and is not understood across "
              "the change.",
        cpp="The class {old} is called {new}: programs that use it no longer compile, and built "
            "ones miss the exported names. Look-ups by the full name find nothing."),
    "message_order": Rule(
        BREAKING, "messages changed their index in the file: {moved}.",
        bytes=BYTES_STAY,
        cpp="kIndexInFileMessages of these classes is another number. Programs built before carry "
            "the old one and take the descriptor of another message for theirs. Declare new "
            "messages at the end of the file; a new map field adds a hidden message of its own."),
    "enum_added": Rule(
        ALLOWED, "enum {name} is new.",
        cpp="One more enum; what was there is untouched."),
    "enum_removed": Rule(
        BREAKING, "enum {name} is gone.",
        cpp="The type, its constants and its functions (_Name, _Parse, _IsValid) are gone: "
            "programs that use them no longer compile."),
    "enum_renamed": Rule(
        BREAKING, "enum {old} is called {new} now.",
        bytes=BYTES_STAY,
        cpp="The type and its functions (_Name, _Parse, _IsValid) have other names: programs "
            "that use them no longer compile."),
    "enum_order": Rule(
        BREAKING, "enums stand in another order: {names}. New ones go to the end.",
        bytes=BYTES_STAY,
        cpp="enum_type(i) of the descriptor gives other enums under the same index."),
}

NUMBERS = {
    "number_retired": dataclasses.replace(
        REUSE, what="{what} {name} takes number {number}, which nobody may take: {reason}."),
    "number_reused": dataclasses.replace(
        REUSE, what="{what} {name} takes number {number}, which is the number of {owner}."),
    "number_in_gap": dataclasses.replace(
        REUSE, what="{what} {name} takes number {number}, but new numbers come after the highest "
                    "one, {highest}: a gap has a past."),
}

_RENAMED = Rule(
    BREAKING, 'field "{old}" (number {number}) is called "{new}" now.',
    bytes=BYTES_STAY,
    json='The key "{old_json}" becomes "{new_json}": readers of either side refuse the key of the '
         "other, or skip the value if they were told to ignore unknown keys.",
    cpp="{old}(), {old_setter} and k{camel_old}FieldNumber become {new}(), {new_setter} and "
        "k{camel_new}FieldNumber: programs that use the old ones no longer compile, and built ones "
        "miss the exported names.")

FIELDS = {
    "field_added": Rule(
        ALLOWED, 'field "{name}" (number {number}) is new.',
        readers="keep it as an unknown field, unread, and write it back.",
        writers="leave it out: new readers find it absent.",
        json='There is a new key "{json}"; old readers of JSON refuse it unless they were told to '
             "ignore unknown keys.",
        cpp="New accessors; what was there is untouched."),
    "oneof_member_added": Rule(
        ALLOWED, 'field "{name}" (number {number}) is a new member of oneof "{oneof}".',
        readers='find no member of "{oneof}" set when this one is; they keep it as an unknown '
                "field and write it back.",
        writers="never set it.",
        json='There is a new key "{json}"; old readers of JSON refuse it unless they were told to '
             "ignore unknown keys.",
        cpp="New accessors and a new constant of the oneof's case: a switch over the case should "
            "have a default."),
    "field_removed": Rule(
        BREAKING, 'field "{name}" (number {number}) is gone.',
        readers="find it absent from now on, as if it had never been set.",
        writers="still send it; new readers keep it as an unknown field that no program sees. If "
                "its number is ever given to another field, the value is taken for that one.",
        json='New readers refuse the key "{json}" of old writers.',
        cpp="{name}(), {setter} and k{camel}FieldNumber are gone: programs that use them no "
            "longer compile, and built ones miss the exported names."),
    "field_renamed": _RENAMED,
    "field_renamed_same_json": dataclasses.replace(
        _RENAMED, json='The key "{old_json}" stays; readers that were given the key "{old}", as '
                       "the schema file spells it, refuse that."),
    "field_renumbered": Rule(
        BREAKING, 'field "{name}" has number {new} now instead of {old}.',
        readers="look for number {old} and find the field absent; number {new} is an unknown field "
                "to them.",
        writers="send number {old}, an unknown field to new readers, who find the field absent: "
                "the value is lost without an error.",
        cpp="k{camel}FieldNumber is {new}; programs built before carry {old}."),
    "field_renumbered_onto": Rule(
        BREAKING, 'field "{name}" has number {new} now instead of {old}; {new} was the number of '
                  '"{owner}".',
        readers='take its value for "{owner}", or refuse the message if the bytes do not fit.',
        writers='are misread: what they send as "{owner}" arrives as "{name}", or the message is '
                "refused if the bytes do not fit.",
        cpp="k{camel}FieldNumber is {new}; programs built before carry {old}."),
    "json_name_changed": Rule(
        BREAKING, 'field "{old}" has the JSON name "{new_json}" now instead of "{old_json}".',
        bytes=BYTES_STAY,
        json='The key "{old_json}" becomes "{new_json}": readers of either side refuse the key of '
             "the other."),
    "field_order": Rule(
        BREAKING, "fields stand in another order: {names}. A new field goes to the end of the "
                  "message or of its oneof.",
        bytes=BYTES_STAY,
        cpp="Descriptor::field(i) gives other fields under the same index."),
}

_TYPE_WHAT = 'field "{name}" is a {new} now instead of a {old}.'
_TYPE_JSON = 'The value of "{name}" {json}.'
_TYPE_CPP = ("{name}() and its setter handle {new_cpp} ({new}) instead of {old_cpp} ({old}): "
             "programs that use them may not compile or convert values, and built ones miss "
             "exported names.")

FIELD_TYPES = {
    "type_same_encoding": Rule(
        BREAKING, _TYPE_WHAT,
        bytes="have the same form: every value that both types can hold arrives.",
        readers="take a value outside the range of {old} for another one, without an error.",
        writers="may send what {new} cannot hold; it arrives as another value, without an error.",
        json=_TYPE_JSON, cpp=_TYPE_CPP),
    "type_other_encoding": Rule(
        BREAKING, _TYPE_WHAT,
        bytes="look alike and mean something else, so that nobody notices.",
        readers="read other values than were written: {old_read}.",
        writers="are misread in the same way: {new_read}.",
        json=_TYPE_JSON, cpp=_TYPE_CPP),
    "type_other_content": Rule(
        BREAKING, _TYPE_WHAT,
        bytes="have a length in front as before, with other content behind it.",
        readers="take the content for a {old}: most messages are refused as a whole, some are "
                "misread.",
        writers="have their content taken for a {new}: most messages are refused as a whole, some "
                "are misread.",
        json=_TYPE_JSON, cpp=_TYPE_CPP),
    "type_other_wire": Rule(
        BREAKING, _TYPE_WHAT,
        bytes="of the two types cannot be read for each other.",
        readers="treat the field as an unknown one and find it absent: the value is lost without "
                "an error.",
        writers="are not understood either: new readers find the field absent.",
        json=_TYPE_JSON, cpp=_TYPE_CPP),
    "string_to_bytes": Rule(
        BREAKING, _TYPE_WHAT,
        bytes="have the same form.",
        readers="refuse the whole message when the bytes are not valid UTF-8.",
        json=_TYPE_JSON + " Text that happens to be base64 is decoded without an error.",
        cpp="{name}() stays a std::string, but nothing checks that it is text any more."),
    "bytes_to_string": Rule(
        BREAKING, _TYPE_WHAT,
        bytes="have the same form.",
        writers="send what need not be valid UTF-8: new readers refuse the whole message then.",
        json=_TYPE_JSON,
        cpp="{name}() stays a std::string, but has to be valid UTF-8."),
    "message_type_changed": Rule(
        BREAKING, 'field "{name}" holds a {new} now instead of a {old}.',
        readers="take the fields of {new} for those of {old} with the same numbers.",
        writers="are misread in the same way.",
        json='The object under "{name}" has the keys of another message.',
        cpp="{name}() and mutable_{name}() give another class: programs that use them no longer "
            "compile."),
    "enum_type_changed": Rule(
        BREAKING, 'field "{name}" holds the enum {new} now instead of {old}.',
        readers="take each number for the value that has it in {old}.",
        writers="have each number taken for the value that has it in {new}.",
        json='The value of "{name}" is a name out of another list.',
        cpp="{name}() and its setter take another enum: programs that use them no longer compile."),
}

_CARDINALITY_WHAT = 'field "{name}" is {new} now, not {old}.'
_CARDINALITY_JSON = 'The value of "{name}" is a list on one side only: each refuses the other\'s.'
_CARDINALITY_CPP = ("A repeated field has {name}_size(), {name}(i) and add_{name}(), a singular "
                    "one {name}(): programs that use it no longer compile.")

PRESENCE = {
    "repeated_changed": Rule(
        BREAKING, _CARDINALITY_WHAT,
        bytes="of one value stay the same.",
        readers="that expect one value keep the last of several (a message is merged from all of "
                "them); those that expect a list get one of at most one element.",
        writers="are read by the same rule: of a list sent to a singular field, only the last "
                "element is left.",
        json=_CARDINALITY_JSON, cpp=_CARDINALITY_CPP),
    "repeated_changed_packed": Rule(
        BREAKING, _CARDINALITY_WHAT,
        bytes="change: repeated numbers travel as one packed block.",
        readers="that expect one value treat a packed block as an unknown field and find nothing; "
                "those that expect a list get one of at most one element, and 0 not at all.",
        writers="are read by the same rule: a list sent to a singular field is lost without an "
                "error.",
        json=_CARDINALITY_JSON, cpp=_CARDINALITY_CPP),
    "map_changed": Rule(
        BREAKING, _CARDINALITY_WHAT,
        readers="find the pairs of a map as messages with fields 1 and 2, or the other way round; "
                "anything else is misread.",
        writers="are misread in the same way; of a repeated key a map keeps only the last value.",
        json='The value of "{name}" is an object on one side and something else on the other.',
        cpp="{name}() gives a google::protobuf::Map on one side only: programs that use it no "
            "longer compile."),
    "required_changed": Rule(
        BREAKING, _CARDINALITY_WHAT,
        readers="refuse a message without a required field.",
        writers="that leave out a required field are refused.",
        cpp="IsInitialized() and has_{name}() behave differently."),
    "optional_added": Rule(
        BREAKING, 'field "{name}" is optional now: 0 or empty differs from not set.',
        readers="see no difference between 0 and not set, as before.",
        writers="leave out 0, which new readers take for not set.",
        json="0 and empty are written when they were set; they were left out before.",
        cpp="has_{name}() comes, and a hidden oneof in the descriptor."),
    "optional_removed": Rule(
        BREAKING, 'field "{name}" is no longer optional: 0 or empty is the same as not set.',
        readers="find the field not set when a new writer means 0.",
        writers="may send 0 on purpose; new readers cannot tell it from not set.",
        json="0 and empty are left out; they were written before when they were set.",
        cpp="has_{name}() is gone: programs that call it no longer compile."),
}

ONEOFS = {
    "moved_into_oneof": Rule(
        BREAKING, 'field "{name}" (number {number}) moved into oneof "{new}".',
        bytes="of this field alone stay the same, but only one member of a oneof can be set.",
        readers='find at most one member of "{new}" set; the others, which they expect side by '
                "side, are absent.",
        writers="may set several of the members in one message: new readers keep the one that "
                "comes last in the bytes and drop the others without an error. A 0 or empty text "
                "that they leave out arrives as not set.",
        json='An object with keys of several members of "{new}" is refused. A member set to 0 or '
             "empty is written; it was left out before.",
        cpp="set_{name}() clears the other members of the oneof, and they clear it: programs "
            "that set them side by side compile as before and lose values. has_{name}() and "
            "{new}_case() tell what is set."),
    "moved_out_of_oneof": Rule(
        BREAKING, 'field "{name}" (number {number}) moved out of oneof "{old}".',
        bytes="of this field alone stay the same, but its 0 or empty text is no longer written.",
        readers='find no member of "{old}" set when the value is 0 or empty. When it comes '
                'together with a member of "{old}", they keep the one that comes last and drop '
                'the other.',
        writers="that set it to 0 or empty are understood as not having set it.",
        json="0 and empty are left out; they were written before when they were set.",
        cpp="The constant of {old}_case() for it is gone, and has_{name}() unless it is a message: "
            'programs that use them no longer compile. Without any member left, {old}_case() goes '
            "too."),
    "moved_to_other_oneof": Rule(
        BREAKING, 'field "{name}" (number {number}) moved from oneof "{old}" to oneof "{new}".',
        bytes="of this field alone stay the same, but it excludes other members than before.",
        readers='that get it together with a member of "{old}" keep the one that comes last and '
                "drop the other.",
        writers='that set it together with a member of "{new}" lose the one that comes first.',
        json='An object with keys of several members of "{new}" is refused.',
        cpp="Its constant moves from {old}_case() to {new}_case(): programs that use it no longer "
            "compile, and set_{name}() clears other members than before."),
    "oneof_renamed": Rule(
        BREAKING, 'oneof "{old}" is called "{new}" now.',
        bytes=BYTES_STAY,
        cpp="{old}_case(), clear_{old}() and {camel_old}Case become {new}_case(), clear_{new}() "
            "and {camel_new}Case: programs that use the old ones no longer compile."),
    "oneof_order": Rule(
        BREAKING, "oneofs stand in another order: {names}. New ones go to the end.",
        bytes=BYTES_STAY,
        cpp="Descriptor::oneof_decl(i) gives other oneofs under the same index."),
}

ENUM_VALUES = {
    "value_added": Rule(
        ALLOWED, "value {name} = {number} is new.",
        readers="keep the number; their _IsValid says false, and a switch falls to its default.",
        writers="never send it.",
        json='There is a new name "{name}"; old readers of JSON refuse it.',
        cpp="A new constant, and _MAX and _ARRAYSIZE grow: a switch over the enum should have a "
            "default."),
    "value_removed": Rule(
        BREAKING, "value {name} = {number} is gone.",
        readers="never see it again.",
        writers="still send {number}; new readers keep the number and have no name for it.",
        json='New readers refuse the name "{name}" of old writers, and write the number instead of '
             "it.",
        cpp="The constant {name} is gone: programs that use it no longer compile."),
    "value_renamed": Rule(
        BREAKING, "value {old} = {number} is called {new} now.",
        bytes=BYTES_STAY,
        json='"{new}" is written instead of "{old}": readers of either side refuse the name of the '
             "other.",
        cpp="The constant {old} becomes {new}: programs that use it no longer compile. _Name and "
            "_Parse follow."),
    "value_renumbered": Rule(
        BREAKING, "value {name} has number {new} now instead of {old}.",
        readers="take it for {taken_for}.",
        writers="send {old} for it, which is another value or none to new readers.",
        cpp="Programs built before carry the number {old} in their code."),
    "value_order": Rule(
        BREAKING, "values stand in another order: {names}. A new value goes to the end.",
        bytes=BYTES_STAY,
        cpp="EnumDescriptor::value(i) gives other values under the same index. The value that "
            "stands first is the default, and has to be the one with number 0."),
}

_OPTION_WHAT = 'option "{option}" is {new} now, it was {old}.'

OPTIONS = {
    "option_cc_enable_arenas": Rule(
        BREAKING, _OPTION_WHAT, bytes=BYTES_STAY,
        cpp="protobuf 3.21 allocates on arenas whatever it says; older code generators do not "
            "without it, and reflection shows it."),
    "option_packed": Rule(
        BREAKING, _OPTION_WHAT,
        bytes="of a repeated number change between one block and single values.",
        readers="made by today's protobuf read both forms; a comparison of bytes differs."),
    "option_deprecated": Rule(
        BREAKING, _OPTION_WHAT, bytes=BYTES_STAY,
        cpp="Programs that use it get warnings, and no longer compile where warnings are errors."),
    "option_jstype": Rule(
        BREAKING, _OPTION_WHAT, bytes=BYTES_STAY,
        json="Texts stay as they are; only classes generated for JavaScript hold another type."),
    "option_optimize_for": Rule(
        BREAKING, _OPTION_WHAT, bytes=BYTES_STAY,
        cpp="The classes get another base class or lose reflection, and other names are exported."),
    "option_allow_alias": Rule(
        BREAKING, _OPTION_WHAT,
        json="Of several names of one number the first is written, all are read.",
        cpp="Several constants may have one number: a switch over them no longer compiles."),
    "option_for_another_language": Rule(
        BREAKING, _OPTION_WHAT, bytes=BYTES_STAY,
        cpp="Not concerned; programs in the option's language find the generated classes under "
            "another name and no longer compile."),
    "option_changed": Rule(
        BREAKING, _OPTION_WHAT,
        cpp="Options change what is generated, and reflection shows them; this schema has no other "
            "than cc_enable_arenas. What this one does is in descriptor.proto of protobuf."),
}

LANGUAGE_OPTIONS = {
    "csharp_namespace", "go_package", "java_multiple_files", "java_outer_classname", "java_package",
    "objc_class_prefix", "php_class_prefix", "php_metadata_namespace", "php_namespace",
    "ruby_package", "swift_prefix",
}

RULES = {
    **FILES, **TYPES, **NUMBERS, **FIELDS, **FIELD_TYPES, **PRESENCE, **ONEOFS, **ENUM_VALUES,
    **OPTIONS,
    "unrecognised": Rule(
        BREAKING, "something changed that the lock has no words for, so it counts as breaking.",
        cpp="Compare the files in git, and describe this kind of change in tests/lock/rules.py."),
}


def rule_for(change):
    if change.kind != "option_changed":
        return RULES[change.kind]
    option = change.facts["option"]
    if option in LANGUAGE_OPTIONS:
        return RULES["option_for_another_language"]
    return RULES.get(f"option_{option}", RULES["option_changed"])
