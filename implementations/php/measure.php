<?php
declare(strict_types=1);

// Measures calls, and makes an error of everything that PHP warns of.

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

set_error_handler(function (int $level, string $text, string $file, int $line): never {
    throw new ErrorException($text, 0, $level, $file, $line);
}, E_ALL & ~E_DEPRECATED);
