--TEST--
The protobuf classes that are written in PHP work beside the module
--EXTENSIONS--
ctype
--SKIPIF--
<?php
if (!stream_resolve_include_path('Google/Protobuf/Timestamp.php')) {
    echo 'skip needs php-google-protobuf';
}
--FILE--
<?php
error_reporting(E_ALL & ~E_DEPRECATED);  // Debian's classes use what its PHP has deprecated
spl_autoload_register(function (string $class): void {
    $file = stream_resolve_include_path(strtr($class, '\\', '/') . '.php');
    if ($file !== false) {
        require $file;
    }
});

$time = new Google\Protobuf\Timestamp(['seconds' => 1792000000, 'nanos' => 5000000]);
$bytes = $time->serializeToString();
var_dump(qmsg_decode('google.protobuf.Timestamp', $bytes));
$read = new Google\Protobuf\Timestamp();
$read->mergeFromString(qmsg_encode('google.protobuf.Timestamp', ['nanos' => 5, 'seconds' => -1]));
var_dump($read->getSeconds(), $read->getNanos());
var_dump(class_exists('Google\Protobuf\Internal\Message'), extension_loaded('protobuf'));
--EXPECT--
array(2) {
  ["seconds"]=>
  int(1792000000)
  ["nanos"]=>
  int(5000000)
}
int(-1)
int(5)
bool(true)
bool(false)
