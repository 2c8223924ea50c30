<?php
declare(strict_types=1);

// Reads and writes the messages with PHP's protobuf classes.
// usage: benchmark.php CLASSES WORKLOADS_DIR SECONDS   CLASSES is the folder of the generated classes

use Google\Protobuf\Internal\Message;
use Quor\Protobuf\JQ\JobList;
use Quor\Protobuf\Monitor\Event;
use Quor\Protobuf\Tarq\{Functions, SqlQueries, SqlQuery, Storage};

require __DIR__ . '/measure.php';

function read(string $class, string $bytes): Message
{
    $message = new $class();
    $message->mergeFromString($bytes);
    return $message;
}

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
