--TEST--
The output never waits, and what it does not take is counted
--SKIPIF--
<?php
if (str_contains(getenv('QMSG_PHP_UNDER') ?: '', 'valgrind')) {
    echo 'skip it depends on time, of which valgrind takes much';
}
?>
--FILE--
<?php
require __DIR__ . '/record.inc';
$folder = sys_get_temp_dir() . '/qmsg-output-' . getmypid();
mkdir($folder);
$tool = escapeshellarg(getenv('QMSG'));
$timed = function (string $program, string $output): array {
    $start = hrtime(true);
    $run = new Recording($program, ['qmsg.output' => $output]);
    return [$run->output, (hrtime(true) - $start) / 1e9 < 5];
};
$some = '$db = new PDO("sqlite::memory:"); for ($i = 0; $i < 20000; $i++) { $db->exec("SELECT 1"); } echo "done";';
check('a full disk', ['done', true], $timed($some, 'file:/dev/full'));
check('a folder that is not there', ['done', true], $timed($some, "file:$folder/missing/file"));
posix_mkfifo("$folder/fifo", 0600);
check('a FIFO without a reader', ['done', true], $timed($some, "file:$folder/fifo"));
check('no agent', ['done', true], $timed($some, "unix:$folder/nobody"));

$types = fn (string $bytes): array => array_count_values(array_map(
    fn ($line) => basename(strtr(json_decode($line, true)['@type'], '.', '/')),
    array_filter(explode("\n", (function () use ($bytes, $tool, $folder) {
        file_put_contents("$folder/bytes", $bytes);
        exec("$tool check --framing any $folder/bytes 2>&1", $lines, $status);
        check('the records are whole', 0, $status);
        return shell_exec("$tool decode --framing any --compact $folder/bytes");
    })()))));

// A stream: the agent reads all of it.
$server = stream_socket_server("unix://$folder/stream");
check('a stream that nobody reads', ['done', true], $timed($some, "unix:$folder/stream"));
$peer = stream_socket_accept($server);
$bytes = stream_get_contents($peer);
check('the begin of its first record is there', true, strlen($bytes) > 100_000 && str_contains($bytes, 'RInitData'));

check('a stream', ['x', true], $timed('echo "x"; (new PDO("sqlite::memory:"))->query("SELECT 1");', "unix:$folder/stream"));
check('all records came', ['RInitData' => 1, 'SqlConnections' => 1, 'SqlQueries' => 1, 'RShutdownData' => 1], $types(stream_get_contents(stream_socket_accept($server))));

// Packets.
$server = socket_create(AF_UNIX, SOCK_SEQPACKET, 0);
socket_bind($server, "$folder/packets");
socket_listen($server);
check('packets that nobody reads', ['done', true], $timed($some, "unix:$folder/packets"));
$peer = socket_accept($server);
$bytes = '';
while (($size = socket_recv($peer, $packet, 1 << 20, 0)) > 0) {
    $bytes .= $packet;
}
check('those that were taken are whole', 1, $types($bytes)['RInitData']);
socket_close($server);
array_map('unlink', glob("$folder/*"));
rmdir($folder);

?>
--EXTENSIONS--
posix
sockets
--EXPECT--
ok: a full disk
ok: a folder that is not there
ok: a FIFO without a reader
ok: no agent
ok: a stream that nobody reads
ok: the begin of its first record is there
ok: a stream
ok: the records are whole
ok: all records came
ok: packets that nobody reads
ok: the records are whole
ok: those that were taken are whole
