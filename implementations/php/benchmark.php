<?php
declare(strict_types=1);

// Reads and writes the messages with PHP's protobuf classes.
// usage: benchmark.php CLASSES WORKLOADS_DIR SECONDS   CLASSES is the folder of the generated classes

use Google\Protobuf\Internal\Message;
use Quor\Protobuf\JQ\JobList;
use Quor\Protobuf\Monitor\Event;
use Quor\Protobuf\Tarq\{Functions, SqlQueries, SqlQuery, Storage};

const BATCHES = 9;

// The nanoseconds of $calls calls.
function batch(int $calls, callable $action): float
{
    $start = hrtime(true);
    for ($call = 0; $call < $calls; ++$call) {
        $action();
    }
    return (float) (hrtime(true) - $start);
}

// Prints the nanoseconds of one call: the median of nine batches.
function measure(string $workload, string $operation, float $seconds, callable $action): void
{
    $calls = 1;
    while (($elapsed = batch($calls, $action)) < $seconds * 1e8) {  // the warm-up
        $calls *= 2;
    }
    $calls = max(1, (int) ($calls * $seconds * 1e9 / BATCHES / $elapsed));
    $batches = array_map(fn() => batch($calls, $action) / $calls, range(1, BATCHES));
    sort($batches);
    printf("%s\t%s\t%.1f\n", $workload, $operation, $batches[intdiv(BATCHES, 2)]);
}

function read(string $class, string $bytes): Message
{
    $message = new $class();
    $message->mergeFromString($bytes);
    return $message;
}

set_error_handler(function (int $level, string $text, string $file, int $line): never {
    throw new ErrorException($text, 0, $level, $file, $line);
}, E_ALL & ~E_DEPRECATED);
// Debian's protobuf classes use what its PHP has deprecated.
error_reporting(E_ALL & ~E_DEPRECATED);

[, $classes, $folder, $seconds] = $argv + [1 => '', '', '0'];
if ($argc !== 4 || !((float) $seconds > 0)) {
    fwrite(STDERR, "usage: benchmark.php CLASSES WORKLOADS_DIR SECONDS\n");
    exit(2);
}
set_include_path($classes . PATH_SEPARATOR . get_include_path());
spl_autoload_register(function (string $class): void {
    require strtr($class, '\\', '/') . '.php';
});

$messages = [
    'SqlQuery' => SqlQuery::class,
    'SqlQueries' => SqlQueries::class,
    'Functions' => Functions::class,
    'JobList' => JobList::class,
    'Event' => Event::class,
    'Text' => Storage::class,
];
foreach ($messages as $workload => $class) {
    $bytes = file_get_contents("$folder/$workload.pb");
    $message = read($class, $bytes);
    $written = $message->serializeToString();
    if ($written !== $bytes) {
        $sizes = strlen($written) . ' bytes that differ from the ' . strlen($bytes);
        fwrite(STDERR, "$workload: writes $sizes bytes of the workload\n");
        exit(1);
    }
    measure($workload, 'parse', (float) $seconds, fn() => read($class, $bytes));
    measure($workload, 'serialise', (float) $seconds, fn() => $message->serializeToString());
}
