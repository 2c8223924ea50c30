"""PHPUnit, on a suite with tests that pass and fail, mock objects and a separate process."""

import re
import unittest

from command_tests import CommandTests

SUITE = r"""<?php
use PHPUnit\Framework\TestCase;

interface Store { public function price(string $fruit): int; }

final class Basket {
    private array $fruits = [];
    public function __construct(private Store $store) {}
    public function add(string $fruit): void { $this->fruits[] = $fruit; }
    public function total(): int { return array_sum(array_map([$this->store, 'price'], $this->fruits)); }
}

final class BasketTest extends TestCase {
    /** @dataProvider baskets */
    public function testAddsPrices(array $fruits, int $total): void {
        $store = $this->createMock(Store::class);
        $store->expects($this->exactly(count($fruits)))->method('price')->willReturnCallback('strlen');
        $basket = new Basket($store);
        foreach ($fruits as $fruit) { $basket->add($fruit); }
        $this->assertSame($total, $basket->total());
    }

    public static function baskets(): iterable {
        for ($i = 0; $i < 500; $i++) {
            yield "basket $i" => [array_fill(0, $i % 7, str_repeat('x', $i % 11)), ($i % 7) * ($i % 11)];
        }
    }

    public function testFails(): void { $this->assertSame(['pear' => 1], ['pear' => 2]); }

    public function testThrows(): void { throw new DomainException('no such fruit'); }

    public function testExpectsAnException(): void {
        $this->expectException(DivisionByZeroError::class);
        intdiv(1, 0);
    }

    public function testWarns(): void {
        $this->expectWarning();
        trigger_error('ripe', E_USER_WARNING);
    }

    /** @runInSeparateProcess */
    public function testRunsElsewhere(): void { $this->assertSame(4, strlen('pear')); }

    public function testIsSkipped(): void { $this->markTestSkipped('no fruit'); }
}
"""


class Tests(CommandTests, unittest.TestCase):
    PROGRAM = "phpunit"

    @staticmethod
    def commands(folder):
        (folder / "BasketTest.php").write_text(SUITE)
        options = ["--no-configuration", "--do-not-cache-result"]
        return [["--version"], [*options, "BasketTest.php"],
                [*options, "--testdox", "--filter", "Fails|Throws|Exception", "."],
                [*options, "--log-junit", "log.xml", "."]]

    @staticmethod
    def lasting(output):
        return re.sub(r"Time: [^\n]*|time=\"[^\"]*\"|\d+(\.\d+)? ms", "...", output)
