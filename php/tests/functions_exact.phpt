--TEST--
Exact function times: each call counts once, and each moment once
--FILE--
<?php
require __DIR__ . '/record.inc';
const HELPERS = <<<'PHP'
function pause(): void { usleep(2000); }
function wait(): void { usleep(1000); }
function numbers(int $n): Generator
{
    try { while ($n-- > 0) { wait(); yield $n; } } finally { wait(); }
}

PHP;

// A program, how often each of its functions is called, and the functions whose inclusive times add up to
// the difference between a function's inclusive and exclusive time. '' stands for all: what its list has
// is the sum of all exclusive times.
const PROGRAMS = [
    'nested calls' => [
        'function main() { outer(); outer(); }
        function outer() { pause(); pause(); }
        main();',
        ['main' => 1, 'outer' => 2, 'pause' => 4],
        ['' => ['main'], 'main' => ['outer'], 'outer' => ['pause'], 'pause' => []]],
    'recursion' => [
        'function main() { countdown(3); }
        function countdown(int $n) { pause(); $n === 0 || countdown($n - 1); }
        main();',
        ['main' => 1, 'countdown' => 4, 'pause' => 4],
        ['' => ['main'], 'main' => ['countdown'], 'countdown' => ['pause']]],
    'two functions that call each other' => [
        'function main() { even(4); }
        function even(int $n) { wait(); return $n === 0 || odd($n - 1); }
        function odd(int $n) { return $n !== 0 && even($n - 1); }
        main();',
        ['main' => 1, 'even' => 3, 'odd' => 2, 'wait' => 3],
        ['' => ['main'], 'main' => ['even']]],
    'an exception' => [
        'function main() { try { outer(); } catch (Exception) { pause(); } }
        function outer() { inner(); }
        function inner() { throw new Exception(); }
        main();',
        ['main' => 1, 'outer' => 1, 'inner' => 1, 'pause' => 1],
        ['' => ['main'], 'main' => ['outer', 'pause'], 'outer' => ['inner'], 'inner' => []]],
    'exit' => [
        'function main() { register_shutdown_function("pause"); Shop::close(); }
        class Shop { static function close() { exit; } }
        main();',
        ['main' => 1, 'Shop::close' => 1, 'pause' => 1],
        ['' => ['main', 'pause'], 'main' => ['Shop::close'], 'Shop::close' => []]],
    'a fatal error' => [
        'function main() { register_shutdown_function("pause"); Shop::fail(); }
        class Shop { static function fail() { trigger_error("sold out", E_USER_ERROR); } }
        main();',
        ['main' => 1, 'Shop::fail' => 1, 'pause' => 1],
        ['' => ['main', 'pause'], 'main' => ['Shop::fail'], 'Shop::fail' => []]],
    'a generator' => [
        'function main() { foreach (numbers(3) as $n) { pause(); } }
        main();',
        ['main' => 1, 'numbers' => 1, 'wait' => 4, 'pause' => 3],
        ['' => ['main'], 'main' => ['numbers', 'pause'], 'numbers' => ['wait']]],
    'two generators of one function that take turns' => [
        'function main() { $other = numbers(2); foreach (numbers(2) as $n) { $other->next(); } }
        main();',
        ['main' => 1, 'numbers' => 2, 'wait' => 6],
        ['' => ['main'], 'main' => ['numbers'], 'numbers' => ['wait']]],
    'a generator inside a generator' => [
        'function main() { foreach (all() as $n) { pause(); } }
        function all() { foreach (numbers(2) as $n) { yield $n; } }
        main();',
        ['main' => 1, 'all' => 1, 'numbers' => 1, 'wait' => 3, 'pause' => 2],
        ['' => ['main'], 'main' => ['all', 'pause'], 'all' => ['numbers'], 'numbers' => ['wait']]],
    // The engine resumes the inner generator itself: it is not called by the outer one.
    'yield from' => [
        'function main() { foreach (all() as $n) { pause(); } }
        function all() { yield 0; yield from numbers(2); yield from [8, 9]; }
        main();',
        ['main' => 1, 'all' => 1, 'numbers' => 1, 'wait' => 3, 'pause' => 5],
        ['' => ['main'], 'main' => ['all', 'numbers', 'pause'], 'all' => [], 'numbers' => ['wait']]],
    'a generator that is dropped' => [
        'function main() { $numbers = numbers(3); $numbers->next(); unset($numbers); }
        main();',
        ['main' => 1, 'numbers' => 1, 'wait' => 3],
        ['' => ['main'], 'main' => ['numbers'], 'numbers' => ['wait']]],
    'a generator that throws' => [
        'function main() { try { foreach (one() as $n) { pause(); } } catch (Exception) {} }
        function one() { yield 1; throw new Exception(); }
        main();',
        ['main' => 1, 'one' => 1, 'pause' => 1],
        ['' => ['main'], 'main' => ['one', 'pause'], 'one' => []]],
    'a generator that is thrown into' => [
        'function main()
        {
            $numbers = numbers(3);
            try { $numbers->throw(new Exception()); } catch (Exception) { pause(); }
        }
        main();',
        ['main' => 1, 'numbers' => 1, 'wait' => 2, 'pause' => 1],
        ['' => ['main'], 'main' => ['numbers', 'pause'], 'numbers' => ['wait']]],
    'a generator that never starts' => [
        'function main() { numbers(3); }
        main();',
        ['main' => 1],
        ['' => ['main'], 'main' => []]],
    // Each bound closure has a run-time cache of its own.
    'a closure bound several times' => [
        'class Shop {}
        function main()
        {
            $closure = function () { wait(); };
            for ($i = 0; $i < 3; ++$i) { Closure::bind($closure, null, Shop::class)(); }
        }
        main();',
        ['main' => 1, 'Shop::{closure}' => 3, 'wait' => 3],
        ['' => ['main'], 'main' => ['Shop::{closure}'], 'Shop::{closure}' => ['wait']]],
];

function nanoseconds(string $duration): int
{
    return (int) round(1e9 * (float) $duration);
}

foreach (PROGRAMS as $title => [$program, $calls, $inside]) {
    $run = new Recording(HELPERS . $program, ['qmsg.functions' => 'exact']);
    $functions = [];
    foreach ($run->all('Tarq.Functions')[0]['functions'] as $function) {
        // PHP 8.4 adds where the closure is.
        $functions[preg_replace('/\{closure[^}]*\}/', '{closure}', $function['function_name'])] = $function;
    }
    $found = array_map(fn (array $function): int => $function['times_called'], $functions);
    ksort($found);
    ksort($calls);
    check("$title: calls", $calls, $found);
    $inclusive = array_map(fn (array $one): int => nanoseconds($one['duration_inclusive']), $functions);
    $exclusive = array_map(fn (array $one): int => nanoseconds($one['duration_exclusive']), $functions);
    $wrong = [];
    foreach ($inside as $name => $callees) {
        $expected = array_sum(array_map(fn (string $callee): int => $inclusive[$callee], $callees));
        $time = $name === '' ? array_sum($exclusive) : $inclusive[$name] - $exclusive[$name];
        if (abs($time - $expected) > 10) {
            $wrong[$name] = [$expected, $time];
        }
    }
    check("$title: times", [], $wrong);
}
$freed = new Recording('for ($line = 1; $line <= 50; ++$line) {
    $function = eval(str_repeat("\n", $line) . "return function () {};");
    $function();
}', ['qmsg.functions' => 'exact']);
$calls = array_column($freed->all('Tarq.Functions')[0]['functions'], 'times_called', 'line_start');
ksort($calls);
check('functions that follow each other in memory', array_fill(2, 50, 1), $calls);
// The optimizer takes calls of functions that do nothing away, and files of this second are not cached.
$shared = new Recording('function once() { usleep(1); } once(); echo count(opcache_get_status()["scripts"]);', [
    'qmsg.functions' => 'exact', 'zend_extension' => 'opcache', 'opcache.enable_cli' => 1,
    'opcache.protect_memory' => 1, 'opcache.file_update_protection' => 0]);
check('opcache protects its memory: the program', '1', $shared->output);
check('opcache protects its memory: calls', 1, $shared->all('Tarq.Functions')[0]['functions'][0]['times_called']);
?>
--EXPECT--
ok: nested calls: calls
ok: nested calls: times
ok: recursion: calls
ok: recursion: times
ok: two functions that call each other: calls
ok: two functions that call each other: times
ok: an exception: calls
ok: an exception: times
ok: exit: calls
ok: exit: times
ok: a fatal error: calls
ok: a fatal error: times
ok: a generator: calls
ok: a generator: times
ok: two generators of one function that take turns: calls
ok: two generators of one function that take turns: times
ok: a generator inside a generator: calls
ok: a generator inside a generator: times
ok: yield from: calls
ok: yield from: times
ok: a generator that is dropped: calls
ok: a generator that is dropped: times
ok: a generator that throws: calls
ok: a generator that throws: times
ok: a generator that is thrown into: calls
ok: a generator that is thrown into: times
ok: a generator that never starts: calls
ok: a generator that never starts: times
ok: a closure bound several times: calls
ok: a closure bound several times: times
ok: functions that follow each other in memory
ok: opcache protects its memory: the program
ok: opcache protects its memory: calls
