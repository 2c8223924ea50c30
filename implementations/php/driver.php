<?php
declare(strict_types=1);

// Reads and writes messages with PHP's protobuf classes, one line in, one line out.
// usage: driver.php CLASSES   the folder of the generated classes

use Google\Protobuf\Internal\DescriptorPool;
use Google\Protobuf\Internal\GPBDecodeException;
use Google\Protobuf\Internal\Message;

set_include_path($argv[1] . PATH_SEPARATOR . get_include_path());
spl_autoload_register(function (string $class): void {
    $file = stream_resolve_include_path(strtr($class, '\\', '/') . '.php');
    if ($file !== false) {
        require $file;
    }
});
// Debian's protobuf classes use what its PHP has deprecated.
error_reporting(E_ALL & ~E_DEPRECATED);
set_error_handler(function (int $level, string $text, string $file, int $line): never {
    throw new ErrorException($text, 0, $level, $file, $line);
}, E_ALL & ~E_DEPRECATED);

function emptyMessage(string $type): ?Message
{
    // The pool knows that Function is PBFunction in PHP, and Namespace is PBNamespace.
    $class = DescriptorPool::getGeneratedPool()->getDescriptorByProtoName($type)?->getClass();
    return $class === null ? null : new $class();
}

function answer(string $type, string $hex): string
{
    $message = emptyMessage($type);
    if ($message === null) {
        return 'unknown-type';
    }
    try {
        $message->mergeFromString($hex === '-' ? '' : hex2bin($hex));
    } catch (ErrorException $error) {
        throw $error;
    } catch (Exception) {  // not GPBDecodeException: text that is not UTF-8 is a plain one
        return 'refused';
    }
    $bytes = $message->serializeToString();
    $written = 'accepted ' . ($bytes === '' ? '-' : bin2hex($bytes));
    try {
        return $written . ' ' . $message->serializeToJsonString();
    } catch (GPBDecodeException) {  // a time outside the range of JSON
        return $written;
    }
}

foreach (glob($argv[1] . '/GPBMetadata/*.php') as $file) {
    ('GPBMetadata\\' . basename($file, '.php'))::initOnce();
}
while (($line = fgets(STDIN)) !== false) {
    [$type, $hex] = explode(' ', rtrim($line, "\n"));
    echo answer($type, $hex), "\n";
}
