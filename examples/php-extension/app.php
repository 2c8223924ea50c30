<?php
// What the test's server runs. Each answer is the worker's process ID.

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

function countdown(int $n): int
{
    return $n === 0 ? 0 : countdown($n - 1);
}

final class Shop
{
    public static function close(): never
    {
        exit;
    }

    public static function fail(): never
    {
        trigger_error('sold out', E_USER_ERROR);
    }
}

echo getmypid();
match (strtok($_SERVER['REQUEST_URI'] ?? '/', '?')) {
    '/wait' => wait(3),
    '/countdown' => countdown(9),
    '/close' => Shop::close(),
    '/fail' => Shop::fail(),
    // PHP takes names in any bytes from 0x80 on.
    '/named' => array_map(function (string $hex): void {
        eval('function ' . hex2bin($hex) . '(): void {}');
        hex2bin($hex)();
    }, explode(',', $_SERVER['QUERY_STRING'])),
    '/many' => array_map(fn (int $i) => eval("function f$i(): void {} f$i();"), range(1, 50)),
    '/missing' => http_response_code(404),
    default => null,
};
