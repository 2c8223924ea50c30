<?php

/**
 * Stubs of the extension qmsg, for editors and static analysers. The extension itself does not read
 * them.
 *
 * Messages are PHP arrays in the names of protobuf's JSON mapping:
 *
 * | field | qmsg_decode gives | qmsg_encode also takes |
 * |---|---|---|
 * | bool | bool | |
 * | int32, uint32, int64 | int | a float without a fraction, a string of decimal digits with or without a minus |
 * | uint64 | int, above PHP_INT_MAX a string of decimal digits | the same |
 * | double | float, with NAN and INF | int, a string with a number as JSON writes it, "NaN", "Infinity", "-Infinity" |
 * | string | string, in UTF-8 | |
 * | enum | string, the value's name; an undeclared one as int | int |
 * | Timestamp | string, "2026-11-22T18:00:00.123Z" | the same with an offset such as "+01:00"; a DateTimeInterface |
 * | Duration | string, "1.500s" | |
 * | a time that JSON cannot express | array{seconds: int, nanos: int} | each time in this form; absent keys are 0 |
 * | message | array by field names | |
 * | repeated | list | |
 * | map | array by keys | |
 * | google.protobuf.Any | array with "@type" and the fields; with "@type" and "value" for a time or another Any | |
 *
 * Field names are written in lowerCamelCase ("queueId") and read in that spelling and in that of the
 * schema ("queue_id"). Arrays have the fields in the order of the schema.
 *
 * Fields that are not set are left out: those with presence (sub-messages and members of a oneof) if
 * they are absent, all others if they have their default. Null means not set; it is no element of a
 * list or of a map.
 *
 * The schema has no field of type bytes. In JSON, bytes would be base64; a google.protobuf.Any has its
 * bytes decoded.
 *
 * Objects are refused, except a DateTimeInterface for a Timestamp: neither __toString() nor
 * jsonSerialize() is called.
 *
 * A Timestamp or a Duration as the outermost message is the array of its parts, those that are 0 left
 * out.
 */

/**
 * Encodes a message.
 *
 * The bytes are those that the C++ class of the message writes, maps in the order of their keys.
 *
 * @param string $type The message: its full name, or as much of the end as is unambiguous:
 *                     "quor.protobuf.Tarq.SqlQueries", "Tarq.SqlQueries", "SqlQueries".
 * @param array<array-key, mixed> $value
 *
 * @throws QmsgException if the array is not such a message. Its path leads there by the keys of the
 *                       array: "queries[3].duration".
 * @throws ValueError    if there is no such message. The text names those that come nearest, or the
 *                       command that lists all.
 */
function qmsg_encode(string $type, array $value): string {}

/**
 * Decodes a message.
 *
 * Undeclared fields are dropped: encoding the array again does not write them.
 *
 * @param string $type As in qmsg_encode().
 *
 * @return array<array-key, mixed>
 *
 * @throws QmsgException if the bytes are not such a message, with the place of the first fault. Its
 *                       path names fields as the schema does: "queries[3].stack_trace".
 * @throws ValueError    if there is no such message.
 */
function qmsg_decode(string $type, string $bytes): array {}

/**
 * Checks a message: whether it can be decoded, and whether its content follows the conventions of the
 * schema. The findings are those of the command `qmsg check`, in the order of the bytes, at most the
 * first 1000. A message with a finding of severity "error" cannot be decoded.
 *
 * Of a google.protobuf.Any its content is checked too; offsets count from its own first byte, paths
 * from the content.
 *
 * @param string $type As in qmsg_encode().
 *
 * @return list<array{offset: int, path: string, severity: 'error'|'warning', code: string, message: string}>
 *         An empty list if all is well. The code is that of the rule, such as "utf-8".
 *
 * @throws ValueError if there is no such message.
 */
function qmsg_check(string $type, string $bytes): array {}

/**
 * Raises a custom monitoring event in the recording of the request: an Event with CustomEventData.
 *
 * @param string $type     The kind of event, in words of the application: "basket.abandoned".
 * @param string $text     What happened, for people.
 * @param mixed  $data     Any value to record with it.
 * @param int    $severity In numbers of the application.
 *
 * @return bool Whether the request is recorded and the event is part of the recording.
 */
function qmsg_event(string $type, string $text = '', mixed $data = null, int $severity = 0): bool {}

/**
 * A message that cannot be encoded or decoded.
 */
class QmsgException extends \RuntimeException
{
    /** The offset of the fault in the bytes, from 0; -1 if an array was encoded. */
    public readonly int $offset;

    /** The field; empty for the message as a whole. */
    public readonly string $path;
}
