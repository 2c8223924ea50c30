--TEST--
Errors and uncaught exceptions, with their stacks
--FILE--
<?php
require __DIR__ . '/record.inc';
$run = new Recording(<<<'PHP'
function warn(int $n) { trigger_error("warning $n", E_USER_WARNING); }
final class Box { public function open() { return $this->{"gone"}; } }
warn(1);
(new Box)->open();
@warn(2);
for ($i = 0; $i < 50; $i++) { trigger_error('often', E_USER_NOTICE); }
for ($i = 0; $i < 7; $i++) { try { throw new LogicException; } catch (LogicException) {} }
trigger_error('old', E_USER_DEPRECATED);
function fail() { throw new DomainException('no such domain', 17, new RuntimeException('cause')); }
try {
    fail();
} finally {
    try { throw new LengthException('inner'); } catch (LengthException) {}
}
PHP, ['display_errors' => 0]);
$errors = $run->all('Tarq.Error');
foreach ($errors as $error) {
    if ($error['message'] !== 'often') {
        echo ($error['severity'] ?? 'EXCEPTION'), ' ', $error['error_type_str'], ' line ', $error['line_no'], ': ', $error['message'], "\n";
    }
}
check('a place is recorded ten times', 10, count(array_filter($errors, fn ($e) => $e['message'] === 'often')));
check('and counted after that', 40, $run->loss('dropped.errors'));
check('an error behind @ is counted', 1, $run->loss('errors.suppressed'));
check('caught exceptions are counted', 8, $run->loss('exceptions.caught'));
check('stack of an error', ['trigger_error 2', 'warn 4', '/program.php 4'], frames($errors[0]['stack_trace']));
$last = end($errors);
check('class', 'DomainException', $last['class_name']);
check('code', '17', $last['code']);
check('stack where it was thrown', ['fail 12', '/program.php 12'], frames($last['stack_trace']));
check('all have the tag', 1, count(array_unique(array_column($run->records, 'queue_id'))));

$run = new Recording('eval("syntax error here");', ['display_errors' => 0]);
check('a parse error', 'E_PARSE', $run->all('Tarq.Error')[0]['error_type_str']);
$run = new Recording('$f = new class { function m() { throw new Exception("x"); } }; $f->m();', ['display_errors' => 0]);
check('a class without a name', 'class@anonymous::m', $run->all('Tarq.Error')[0]['stack_trace']['frames'][0]['function_name']);
$run = new Recording('ini_set("memory_limit", "4M"); $x = str_repeat("x", 1 << 30);', ['display_errors' => 0]);
check('a fatal error', 'Allowed memory size', substr($run->all('Tarq.Error')[0]['message'], 0, 19));
check('its severity', 'ERROR', $run->all('Tarq.Error')[0]['severity']);
?>
--EXPECT--
WARNING E_USER_WARNING line 2: warning 1
WARNING E_WARNING line 3: Undefined property: Box::$gone
NOTICE E_USER_DEPRECATED line 9: old
EXCEPTION E_ERROR line 10: no such domain
ok: a place is recorded ten times
ok: and counted after that
ok: an error behind @ is counted
ok: caught exceptions are counted
ok: stack of an error
ok: class
ok: code
ok: stack where it was thrown
ok: all have the tag
ok: a parse error
ok: a class without a name
ok: a fatal error
ok: its severity
