--TEST--
Superglobals, headers and bodies
--FILE--
<?php
require __DIR__ . '/record.inc';
$folder = sys_get_temp_dir() . '/qmsg-capture-' . getmypid();
mkdir($folder);
file_put_contents("$folder/index.php", <<<'PHP'
<?php
header('X-Own: ä');
setcookie('session', 'S3crSetCookie');
if (isset($_GET['binary'])) { header('Content-Type: image/png'); echo "\x89PNG\0\xff"; exit; }
if (isset($_GET['long'])) { echo str_repeat('ä', 5000); exit; }
ob_start();
echo 'Hello ', $_POST['name'] ?? 'you';
PHP);
$command = [getenv('TEST_PHP_EXECUTABLE'), '-n', '-d', 'extension=' . getenv('QMSG_EXTENSION'), '-d', "qmsg.output=file:$folder/records",
    '-d', 'qmsg.record=all', '-d', 'qmsg.max_text=8K', '-S', '127.0.0.1:0', '-t', $folder];
$server = proc_open($command, [1 => ['file', "$folder/log", 'w'], 2 => ['redirect', 1]], $pipes);
while (!preg_match('~http://127.0.0.1:(\d+)\b~', file_get_contents("$folder/log"), $match)) {
    usleep(10000);
}
$get = fn (string $target, array $options = []): string => file_get_contents(
    "http://127.0.0.1:$match[1]$target", false, stream_context_create(['http' => $options]));
$headers = "Authorization: Bearer S3crBearer\r\nCookie: id=S3crCookie\r\nX-Trace: 17\r\n";
echo $get('/index.php?a=1&token=S3crQuery', ['method' => 'POST', 'header' => $headers . "Content-Type: application/x-www-form-urlencoded\r\n", 'content' => 'name=al&password=S3crForm']), "\n";
$get('/index.php?binary=1', ['method' => 'PUT', 'header' => "Content-Type: application/octet-stream\r\n", 'content' => "\xff\xfe\0"]);
check('a long body arrives whole', 10000, strlen($get('/index.php?long=1')));
proc_terminate($server);
proc_close($server);
check('no secret', false, str_contains(file_get_contents("$folder/records"), 'S3cr'));
$tool = escapeshellarg(getenv('QMSG'));
$requests = [];
foreach (array_filter(explode("\n", shell_exec("$tool decode --framing any --compact $folder/records"))) as $line) {
    $record = json_decode($line, true);
    $requests[$record['queue_id']][basename(strtr($record['@type'], '.', '/'))] = $record;
}
[$form, $binary, $long] = array_values($requests);
check('target', '/index.php?a=1&token=[redacted]', $form['RInitData']['target']);
check('method', ['POST', 'PUT', 'GET'], [$form['RInitData']['method'], $binary['RInitData']['method'], $long['RInitData']['method']]);
check('request headers', [true, true, true], array_map(fn ($h) => in_array($h, $form['RequestHeaders']['headers']), ['X-Trace: 17', 'Authorization: [redacted]', 'Cookie: [redacted]']));
check('response headers', [true, true], array_map(fn ($h) => in_array($h, $form['ResponseHeaders']['headers']), ['X-Own: ä', 'Set-Cookie: [redacted]']));
check('form', 'name=al&password=[redacted]', $form['RawPostData']['data']);
check('its type', 'application/x-www-form-urlencoded', $form['RawPostData']['content_type']);
check('its length', 25, (int) $form['RawPostData']['content_length']);
check('response', 'Hello al', $form['ResponseBody']['body']);
$globals = array_column($form['Superglobals']['variables'], 'values', 'name');
check('$_GET', ['a' => '1', 'token' => '[redacted]'], array_combine(array_column($globals['_GET'], 'key'), array_map(fn ($v) => $v['value']['string_value'], $globals['_GET'])));
check('a body that is no text is left out', [false, false], [isset($binary['RawPostData']['data']), isset($binary['ResponseBody']['body'])]);
check('and counted', ['binary.bodies', '2'], (fn ($s) => [$s['key'], $s['data'][0]])($binary['Storage']['storage'][0]));
check('its type is there', 'image/png', $binary['ResponseBody']['content_type']);
check('a long body is cut between characters', [8192, true], [strlen($long['ResponseBody']['body']), (bool) preg_match('/^ä+$/u', $long['ResponseBody']['body'])]);
array_map('unlink', glob("$folder/*"));
rmdir($folder);
?>
--EXPECT--
Hello al
ok: a long body arrives whole
ok: no secret
ok: target
ok: method
ok: request headers
ok: response headers
ok: form
ok: its type
ok: its length
ok: response
ok: $_GET
ok: a body that is no text is left out
ok: and counted
ok: its type is there
ok: a long body is cut between characters
