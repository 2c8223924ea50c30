<?php
declare(strict_types=1);

// PHP values, texts, times and call stacks as messages.

namespace Recorder;

use DateTimeInterface;
use Google\Protobuf\Duration;
use Google\Protobuf\Timestamp;
use Quor\Protobuf\QuorPHP\QuorArray;
use Quor\Protobuf\QuorPHP\QuorArrayValue;
use Quor\Protobuf\QuorPHP\QVal;
use Quor\Protobuf\QuorPHP\QVal\Type;
use Quor\Protobuf\QuorPHP\StackTrace;
use Quor\Protobuf\QuorPHP\StackTraceFrame;

const JSON_STYLE = JSON_UNESCAPED_SLASHES | JSON_UNESCAPED_UNICODE | JSON_PRESERVE_ZERO_FRACTION
    | JSON_INVALID_UTF8_SUBSTITUTE | JSON_PARTIAL_OUTPUT_ON_ERROR;

/**
 * A PHP string is bytes, a protobuf string is UTF-8: for one Latin-1 byte the reader refuses the
 * whole record. Such bytes become \xNN, which keeps their value.
 */
function text(string $bytes): string
{
    return preg_replace_callback(
        '/[\x80-\xFF]+/',
        fn (array $run): string => preg_match('//u', $run[0])
            ? $run[0]
            : '\x' . implode('\x', str_split(strtoupper(bin2hex($run[0])), 2)),
        $bytes,
    );
}

function duration(int $nanoseconds): Duration
{
    return (new Duration())
        ->setSeconds(intdiv($nanoseconds, 1_000_000_000))
        ->setNanos($nanoseconds % 1_000_000_000);
}

function timestamp(DateTimeInterface $time): Timestamp
{
    return (new Timestamp())
        ->setSeconds($time->getTimestamp())
        ->setNanos(1000 * (int) $time->format('u'));
}

function value(mixed $value): QVal
{
    $result = new QVal();
    return match (true) {
        $value === null => $result->setValueType(Type::NUL),
        is_bool($value) => $result->setValueType(Type::BOOL)->setBoolValue($value),
        is_int($value) => $result->setValueType(Type::INTEGER)->setIntValue($value),
        is_float($value) => $result->setValueType(Type::DOUBLE)->setDoubleValue($value),
        is_string($value) => $result->setValueType(Type::STRING)->setStringValue(text($value)),
        $value instanceof DateTimeInterface => $result->setValueType(Type::TIMESTAMP)
            ->setTmValue(timestamp($value)),
        is_array($value), is_object($value) => $result->setValueType(Type::JSON)
            ->setJsonValue(json_encode(plain($value), JSON_STYLE)),
        default => $result,
    };
}

/** The value as JSON can hold it. An object becomes its class: it may be large or secret. */
function plain(mixed $value): mixed
{
    return match (true) {
        is_array($value) => array_map(plain(...), $value),
        is_object($value) => ['class' => $value::class],
        is_string($value) => text($value),
        default => $value,
    };
}

function arguments(array $arguments): QuorArray
{
    $values = [];
    foreach ($arguments as $key => $argument) {
        $element = (new QuorArrayValue())->setValue(value($argument));
        $values[] = is_int($key) ? $element->setIntKey($key) : $element->setStringKey(text($key));
    }
    return (new QuorArray())->setValues($values);
}

/** The call stack of the script, frame 0 innermost, without the recorder's own frames. */
function stackTrace(): StackTrace
{
    $calls = debug_backtrace();
    $own = [__FILE__, __DIR__ . '/recorder.php', __DIR__ . '/recorded_pdo.php'];
    while (in_array($calls[0]['file'] ?? '', $own, true)) {
        array_shift($calls);
    }
    $frames = [];
    foreach ($calls as $number => $call) {
        $class = $call['class'] ?? '';
        if (str_starts_with($class, __NAMESPACE__ . '\\')) {
            $class = get_parent_class($class);  // the script sees a PDO
        }
        $frames[] = (new StackTraceFrame())
            ->setFrameId($number)
            ->setFunctionName(text($class . ($call['type'] ?? '') . $call['function']))
            ->setFileName(text($call['file'] ?? ''))
            ->setLineNo($call['line'] ?? 0)
            ->setFunctionArgs(arguments($call['args'] ?? []));
    }
    return (new StackTrace())->setFrames($frames);
}
