<?php
// Runs in the test's web server. Each answer is the worker's process ID.

function wait(int $calls): void
{
    while ($calls-- > 0) {
        pause();
    }
}

function pause(): void
{
    usleep(2000);
}

match (strtok($_SERVER['REQUEST_URI'] ?? '/', '?')) {
    '/wait' => wait(3),
    // PHP's names may hold any bytes from 0x80 on.
    '/named' => array_map(function (string $hex): void {
        eval('function ' . hex2bin($hex) . '(): void {}');
        hex2bin($hex)();
    }, explode(',', $_SERVER['QUERY_STRING'])),
    '/many' => array_map(fn (int $i) => eval("function f$i(): void {} f$i();"), range(1, 50)),
    '/missing' => http_response_code(404),
    default => null,
};
echo getmypid();
