<?php
// Two plugins in a PHP process: php ffi_host.php PLUGIN PLUGIN
const DECLARATIONS = <<<'C'
    struct Plugin {
      int (*use)(void);
      const char* (*declarations)(void);
      size_t (*reflection_addresses)(const void** addresses);
      void* (*make)(const char* query);
      int (*reads)(const void* message, const char* query);
      void (*drop)(void* message);
    };
    extern const struct Plugin qmsg_plugin;
    C;

$files = array_map(fn(string $path) => FFI::cdef(DECLARATIONS, $path), array_slice($argv, 1));
[$one, $two] = array_map(fn(FFI $file) => $file->qmsg_plugin, $files);

$message = ($one->make)("SELECT 1");
echo "the other plugin reads it: ", ($two->reads)($message, "SELECT 1"), "\n";
($two->drop)($message);

$child = pcntl_fork();
if ($child === 0) {
    exit(($one->use)());
}
pcntl_waitpid($child, $status);
echo "problems of a child: ", pcntl_wexitstatus($status), "\n";
echo "problems of the parent: ", ($two->use)(), "\n";
