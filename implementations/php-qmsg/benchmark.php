<?php
declare(strict_types=1);

// Reads and writes the messages as PHP arrays with the extension.
// usage: benchmark.php WORKLOADS_DIR SECONDS

require __DIR__ . '/../php/measure.php';

[, $folder, $seconds] = $argv + [1 => '', '0'];
if ($argc !== 3 || !((float) $seconds > 0)) {
    fwrite(STDERR, "usage: benchmark.php WORKLOADS_DIR SECONDS\n");
    exit(2);
}

$types = [
    'SqlQuery' => 'quor.protobuf.Tarq.SqlQuery',
    'SqlQueries' => 'quor.protobuf.Tarq.SqlQueries',
    'Functions' => 'quor.protobuf.Tarq.Functions',
    'JobList' => 'quor.protobuf.JQ.JobList',
    'Event' => 'quor.protobuf.Monitor.Event',
    'Text' => 'quor.protobuf.Tarq.Storage',
];
foreach ($types as $workload => $type) {
    $bytes = file_get_contents("$folder/$workload.pb");
    $value = qmsg_decode($type, $bytes);
    $written = qmsg_encode($type, $value);
    if ($written !== $bytes) {
        $sizes = strlen($written) . ' bytes that differ from the ' . strlen($bytes);
        fwrite(STDERR, "$workload: writes $sizes bytes of the workload\n");
        exit(1);
    }
    measure($workload, 'parse', (float) $seconds, fn() => qmsg_decode($type, $bytes));
    measure($workload, 'serialise', (float) $seconds, fn() => qmsg_encode($type, $value));
}
