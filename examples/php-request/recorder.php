<?php
declare(strict_types=1);

// Writes what one request did with its databases to a file of records. Each record is a
// google.protobuf.Any, which names the type inside, after its length as a varint.
//
// A script that opens its database as RecordedPdo instead of PDO is recorded.

namespace Recorder;

use DateTimeImmutable;
use Google\Protobuf\Any;
use Google\Protobuf\Internal\Message;
use Quor\Protobuf\QuorPHP\PhpVersion;
use Quor\Protobuf\QuorPHP\RInitData;
use Quor\Protobuf\QuorPHP\RShutdownData;
use Quor\Protobuf\Tarq\SqlConnection;
use Quor\Protobuf\Tarq\SqlConnections;
use Quor\Protobuf\Tarq\SqlQueries;
use Quor\Protobuf\Tarq\SqlQuery;
use Quor\Protobuf\Tarq\SqlTransaction;
use Quor\Protobuf\Tarq\SqlTransactions;
use RuntimeException;

spl_autoload_register(function (string $class): void {
    $file = stream_resolve_include_path(strtr($class, '\\', '/') . '.php');
    if ($file !== false) {
        require $file;
    }
});
require __DIR__ . '/messages.php';
require __DIR__ . '/recorded_pdo.php';

/** One request, from its first record to its last. */
final class Recorder
{
    private readonly string $queueId;
    private readonly int $begin;
    /** @var resource */
    private $file;
    private array $connections = [];
    private array $transactions = [];
    private array $queries = [];
    /** The open transactions, outermost first: [SqlTransaction, savepoint name, begin]. */
    private array $open = [];

    public function __construct(string $path)
    {
        $this->begin = hrtime(true);
        $this->queueId = bin2hex(random_bytes(8));
        $this->file = @fopen($path, 'wb')
            ?: throw new RuntimeException("cannot write $path: " . error_get_last()['message']);
        $this->write((new RInitData())
            ->setPhpVersion((new PhpVersion())
                ->setMajorVersion(PHP_MAJOR_VERSION)
                ->setMinorVersion(PHP_MINOR_VERSION)
                ->setRelease(PHP_RELEASE_VERSION))
            ->setTimestamp(timestamp(new DateTimeImmutable()))
            ->setMethod(text($_SERVER['REQUEST_METHOD'] ?? strtoupper(PHP_SAPI)))
            ->setTarget(text($_SERVER['REQUEST_URI'] ?? $_SERVER['SCRIPT_NAME']))
            ->setNodeName(text(gethostname()))
            ->setPid(getmypid())
            ->setQueueId($this->queueId));
        // Also runs when the script dies of an uncaught exception.
        register_shutdown_function($this->finish(...));
    }

    public function connect(string $dsn): int
    {
        $ident = count($this->connections);
        $this->connections[] = (new SqlConnection())->setIdent($ident)->setDsn(text($dsn));
        return $ident;
    }

    public function query(int $connection, string $sql): SqlQuery
    {
        $query = (new SqlQuery())
            ->setConnectionId($connection)
            ->setQuery(text($sql))
            ->setStackTrace(stackTrace());
        if ($this->open !== []) {
            $query->setTransactionId(end($this->open)[0]->getIdent());
        }
        return $this->queries[] = $query;
    }

    /**
     * Opens and closes transactions, and counts the rows that they change. Returns how many
     * rows the statement changed: for all that cannot change any, SQLite repeats an old count.
     */
    public function ran(string $sql, int $reported): int
    {
        $changed = preg_match('/^\s*(INSERT|UPDATE|DELETE|REPLACE|WITH)\b/i', $sql) ? $reported : 0;
        foreach ($this->open as [$transaction]) {
            $transaction->setRows($transaction->getRows() + $changed);
        }
        $control = '/^\s*(BEGIN|SAVEPOINT|COMMIT|END|RELEASE|ROLLBACK(?! TO))\b(?: SAVEPOINT)?\s*(\w*)/i';
        if (preg_match($control, $sql, $match)) {
            match (strtoupper($match[1])) {
                'BEGIN' => $this->open(''),
                'SAVEPOINT' => $this->open($match[2]),
                'RELEASE' => $this->close($match[2]),
                'COMMIT', 'END', 'ROLLBACK' => $this->close(''),
            };
        }
        return $changed;
    }

    private function open(string $savepoint): void
    {
        $transaction = (new SqlTransaction())->setIdent(count($this->transactions));
        if ($this->open !== []) {
            $transaction->setParentId(end($this->open)[0]->getIdent());
        }
        $this->transactions[] = $transaction;
        $this->open[] = [$transaction, $savepoint, hrtime(true)];
    }

    /** Closes that savepoint and all inside it; the outermost transaction has no name. */
    private function close(string $savepoint): void
    {
        while ($this->open !== []) {
            [$transaction, $name, $begin] = array_pop($this->open);
            $transaction->setDuration(duration(hrtime(true) - $begin));
            if (strcasecmp($name, $savepoint) === 0) {
                break;
            }
        }
    }

    private function finish(): void
    {
        $end = (new RShutdownData())
            ->setHttpResponseCode((int) http_response_code())
            ->setTotalTime(duration(hrtime(true) - $this->begin))
            ->setMemoryUsage(memory_get_usage())
            ->setMemoryPeakUsage(memory_get_peak_usage())
            ->setMemoryLimit(max(0, ini_parse_quantity(ini_get('memory_limit'))))
            ->setQueueId($this->queueId);
        $this->write((new SqlConnections())->setQueueId($this->queueId)
            ->setConnections($this->connections));
        $this->write((new SqlTransactions())->setQueueId($this->queueId)
            ->setTransactions($this->transactions));
        $this->write((new SqlQueries())->setQueueId($this->queueId)->setQueries($this->queries));
        $this->write($end);
    }

    private function write(Message $message): void
    {
        $any = new Any();
        $any->pack($message);
        $bytes = $any->serializeToString();
        $length = '';
        for ($rest = strlen($bytes); $rest > 0x7F; $rest >>= 7) {
            $length .= chr($rest & 0x7F | 0x80);
        }
        $record = $length . chr($rest) . $bytes;
        if (fwrite($this->file, $record) !== strlen($record)) {
            throw new RuntimeException('cannot write a whole record');
        }
    }
}
