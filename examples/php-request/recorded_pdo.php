<?php
declare(strict_types=1);

// Stand-ins for PDO and PDOStatement that hand every statement to the recorder.

namespace Recorder;

use Iterator;
use PDO;
use PDOException;
use PDOStatement;
use Quor\Protobuf\Tarq\SqlError;
use Quor\Protobuf\Tarq\SqlQuery;

/** The time, rows and error of one statement, added up over its execution and its fetches. */
final class Measure
{
    private int $nanoseconds = 0;

    public function __construct(private readonly SqlQuery $query)
    {
    }

    public function time(callable $work): mixed
    {
        $begin = hrtime(true);
        try {
            return $work();
        } catch (PDOException $error) {
            $this->fail($error);
            throw $error;
        } finally {
            $this->nanoseconds += hrtime(true) - $begin;
            $this->query->setDuration(duration($this->nanoseconds));
        }
    }

    /** `status` is the driver's own number for the error; 0 is success. */
    public function fail(PDOException $error): void
    {
        $this->query
            ->setStatus((int) ($error->errorInfo[1] ?? -1))
            ->setError((new SqlError())->setMessage(text($error->getMessage())));
    }

    public function addRows(int $rows): void
    {
        $this->query->setRows($this->query->getRows() + $rows);
    }
}

/** A PDO whose statements are recorded. Errors have to be exceptions, as they are by default. */
final class RecordedPdo extends PDO
{
    private readonly int $ident;

    public function __construct(private readonly Recorder $recorder, string $dsn)
    {
        parent::__construct($dsn);
        $this->ident = $recorder->connect($dsn);
        $this->setAttribute(PDO::ATTR_STATEMENT_CLASS,
            [RecordedStatement::class, [$recorder, $this->ident]]);
    }

    public function exec(string $statement): int|false
    {
        return $this->record($statement, fn (): int|false => parent::exec($statement));
    }

    public function beginTransaction(): bool
    {
        return $this->record('BEGIN', fn (): bool => parent::beginTransaction());
    }

    public function commit(): bool
    {
        return $this->record('COMMIT', fn (): bool => parent::commit());
    }

    public function rollBack(): bool
    {
        return $this->record('ROLLBACK', fn (): bool => parent::rollBack());
    }

    public function query(string $query, ?int $fetchMode = null, mixed ...$fetchModeArgs): PDOStatement|false
    {
        $statement = $this->prepare($query);
        $statement->execute();
        if ($fetchMode !== null) {
            $statement->setFetchMode($fetchMode, ...$fetchModeArgs);
        }
        return $statement;
    }

    /** Only a refusal is recorded here: what works is recorded when it is executed. */
    public function prepare(string $query, array $options = []): PDOStatement|false
    {
        try {
            return parent::prepare($query, $options);
        } catch (PDOException $error) {
            (new Measure($this->recorder->query($this->ident, $query)))->fail($error);
            throw $error;
        }
    }

    private function record(string $sql, callable $work): mixed
    {
        $measure = new Measure($this->recorder->query($this->ident, $sql));
        $result = $measure->time($work);
        $measure->addRows($this->recorder->ran($sql, (int) $result));
        return $result;
    }
}

/** SQLite computes most of a result while it is fetched, so fetching counts as well. */
final class RecordedStatement extends PDOStatement
{
    private Measure $measure;

    protected function __construct(private readonly Recorder $recorder, private readonly int $connection)
    {
    }

    public function execute(?array $params = null): bool
    {
        $this->measure = new Measure($this->recorder->query($this->connection, $this->queryString));
        $result = $this->measure->time(fn (): bool => parent::execute($params));
        $reported = $this->columnCount() === 0 ? $this->rowCount() : 0;
        $this->measure->addRows($this->recorder->ran($this->queryString, $reported));
        return $result;
    }

    public function fetch(int $mode = PDO::FETCH_DEFAULT, int $orientation = PDO::FETCH_ORI_NEXT, int $offset = 0): mixed
    {
        $row = $this->measure->time(fn (): mixed => parent::fetch($mode, $orientation, $offset));
        $this->measure->addRows($row === false ? 0 : 1);
        return $row;
    }

    public function fetchColumn(int $column = 0): mixed
    {
        $value = $this->measure->time(fn (): mixed => parent::fetchColumn($column));
        $this->measure->addRows($value === false ? 0 : 1);
        return $value;
    }

    public function fetchAll(int $mode = PDO::FETCH_DEFAULT, mixed ...$args): array
    {
        $rows = $this->measure->time(fn (): array => parent::fetchAll($mode, ...$args));
        $this->measure->addRows(count($rows));
        return $rows;
    }

    public function getIterator(): Iterator
    {
        while (($row = $this->fetch()) !== false) {
            yield $row;
        }
    }
}
