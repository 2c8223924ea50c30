--TEST--
The stub declares the functions and the class as the module does
--FILE--
<?php
// The stub's own functions, under other names.
$stub = file_get_contents(getenv('QMSG_STUB'));
$stub = preg_replace('/^function qmsg_/m', 'function stub_', $stub);
eval(substr(str_replace('class QmsgException', 'class StubException', $stub), strlen('<?php')));

function described(ReflectionFunction $function): string
{
    $parameters = array_map(fn($parameter) => (string) $parameter, $function->getParameters());
    return implode('; ', $parameters) . ' -> ' . $function->getReturnType();
}

$functions = (new ReflectionExtension('qmsg'))->getFunctions();
foreach ($functions as $name => $function) {
    $declared = described(new ReflectionFunction(str_replace('qmsg_', 'stub_', $name)));
    if (described($function) !== $declared) {
        echo "$name: ", described($function), "\n  the stub: $declared\n";
    }
}
$all = preg_match_all('/^function stub_(\w+)/m', $stub, $names) ? $names[1] : [];
$missing = array_diff($all, array_map(fn($name) => substr($name, 5), array_keys($functions)));
echo count($functions), ' functions; not in the module: ', implode(', ', array_diff($missing, ['event'])), "\n";

foreach (['QmsgException', 'StubException'] as $class) {
    $reflection = new ReflectionClass($class);
    foreach ($reflection->getProperties() as $property) {
        if ($property->class === $class) {
            echo implode(' ', Reflection::getModifierNames($property->getModifiers())),
                " {$property->getType()} \${$property->name}\n";
        }
    }
    echo $reflection->getParentClass()->name, $reflection->isFinal() ? ', final' : '', "\n";
}
--EXPECTF--
%d functions; not in the module: 
public readonly int $offset
public readonly string $path
RuntimeException
public readonly int $offset
public readonly string $path
RuntimeException
