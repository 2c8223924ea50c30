--TEST--
Function times: by samples, and exactly
--FILE--
<?php
require __DIR__ . '/record.inc';
$program = <<<'PHP'
function spin(int $ms): void { $end = hrtime(true) + $ms * 1000000; while (hrtime(true) < $end) { } }
function outer(): void { spin(200); inner(); }
function inner(): void { spin(400); }
function fib(int $n): int { return $n < 2 ? $n : fib($n - 1) + fib($n - 2); }
function numbers() { yield 1; yield 2; yield 3; }
outer();
fib(10);
foreach (numbers() as $n) {}
numbers();
usleep(30000);
PHP;
$by_name = fn (Recording $run): array => array_column($run->all('Tarq.Functions')[0]['functions'], null, 'function_name');
$near = fn (float $seconds, string $found): bool => abs($seconds - (float) $found) < 0.15;

$run = new Recording($program, ['qmsg.functions' => 'sample']);
$times = $by_name($run);
check('samples: outer with inner', true, $near(0.6, $times['outer']['duration_inclusive']));
check('samples: inner', true, $near(0.4, $times['inner']['duration_inclusive']));
check('samples: outer alone', true, $near(0, $times['outer']['duration_exclusive']));
check('samples: spin, which both call', true, $near(0.6, $times['spin']['duration_inclusive']));
check('samples: calls are not counted', [], array_filter($times, fn ($t) => isset($t['times_called'])));
check('samples: waiting is time of the caller', true, (float) $times['/program.php']['duration_inclusive'] > 0.62);
check('samples: place', ['/program.php', 3, 3], [$times['outer']['file_name'], $times['outer']['line_start'], $times['outer']['line_end']]);
check('samples: kind', 'USER', $times['outer']['function_type']);

$times = $by_name(new Recording($program, ['qmsg.functions' => 'exact']));
check('exact: outer', true, $near(0.6, $times['outer']['duration_inclusive']));
check('exact: inner alone', true, $near(0, $times['inner']['duration_exclusive']));
check('exact: spin alone', true, $near(0.6, $times['spin']['duration_exclusive']));
check('exact: calls of a recursion', 177, $times['fib']['times_called']);
check('exact: a generator is called once, and only if it runs', 1, $times['numbers']['times_called']);

check('off: nothing', [], (new Recording($program))->all('Tarq.Functions'));
$deep = new Recording('ini_set("memory_limit", "1G"); function deep($n) { return $n ? deep($n - 1) : 0; } echo deep(200000);', ['qmsg.functions' => 'exact']);
check('a deep recursion', '0', $deep->output);
check('all calls of it', 200001, $by_name($deep)['deep']['times_called']);
check('the deepest have no time', 100001, $deep->loss('dropped.functions'));
$eval = new Recording('for ($i = 0; $i < 300; $i++) { eval("function f$i() { return 1; } f$i(); (function () { return 2; })();"); }', ['qmsg.functions' => 'exact']);
check('functions of eval', 300, count(array_filter($by_name($eval), fn ($n) => preg_match('/^f\d+$/', $n), ARRAY_FILTER_USE_KEY)));
?>
--EXPECT--
ok: samples: outer with inner
ok: samples: inner
ok: samples: outer alone
ok: samples: spin, which both call
ok: samples: calls are not counted
ok: samples: waiting is time of the caller
ok: samples: place
ok: samples: kind
ok: exact: outer
ok: exact: inner alone
ok: exact: spin alone
ok: exact: calls of a recursion
ok: exact: a generator is called once, and only if it runs
ok: off: nothing
ok: a deep recursion
ok: all calls of it
ok: the deepest have no time
ok: functions of eval
