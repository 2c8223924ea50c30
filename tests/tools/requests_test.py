"""The figures of requests and of SQL statements: qmsg requests and qmsg top."""

import json
import unittest

import tool
from tool import BAD_DATA, WRONG_USE

PREFIX = "type.googleapis.com/quor.protobuf."
HEAD = ("begin, UTC                status       total         SQL     %  statements  errors        peak"
        "  request\n")


def begin(queue_id, **fields):
    return {"@type": PREFIX + "QuorPHP.RInitData", "queue_id": queue_id, **fields}


def end(queue_id, **fields):
    return {"@type": PREFIX + "QuorPHP.RShutdownData", "queue_id": queue_id, **fields}


def queries(queue_id, *statements):
    return {"@type": PREFIX + "Tarq.SqlQueries", "queue_id": queue_id, "queries": statements}


def stack(*lines):
    return {"frames": [{"function_name": "f", "file_name": "a.php", "line_no": line} for line in lines]}


CART = [
    begin("a", timestamp="2026-11-20T03:12:45.678Z", method="GET", target="/cart"),
    queries("a", {"query": "SELECT 1", "duration": "0.001s"},
            {"query": "SELECT 2", "duration": "0.002s", "error": {"message": "locked"}}),
    begin("b", timestamp="2026-11-20T03:12:46Z", target="cron.php"),
    queries("a", {"query": "SELECT 3", "duration": "0.0005s"}),
    {"@type": PREFIX + "Tarq.Error", "queue_id": "a", "message": "oops"},
    {"@type": PREFIX + "Monitor.Event", "rule_name": "slow"},
    end("a", http_response_code=500, total_time="0.007s", memory_peak_usage=2097152),
    end("c", http_response_code=200, total_time="2s", memory_peak_usage=700),
]


class Figures(tool.ToolTest):
    def figures(self, command, messages, *arguments, **options):
        given = self.run_tool("encode", "--framing", "any",
                              given="\n".join(map(json.dumps, messages)).encode()).bytes
        return self.run_tool(command, *arguments, given=given, **options)

    def objects(self, command, messages, *arguments):
        return [json.loads(line) for line in self.figures(command, messages, "--json", *arguments).text.splitlines()]


class Requests(Figures):
    A = ("2026-11-20 03:12:45.678      500     7.00 ms     3.50 ms    50           3       2    2.00 MiB"
         "  a  GET /cart\n")
    B = ("2026-11-20 03:12:46.000        -      no end     0.00 ns     -           0       0           -"
         "  b  cron.php\n")
    C = ("                             200      2.00 s     0.00 ns     0           0       0       700 B"
         "  c\n")

    def test_are_lines_in_the_order_of_their_first_messages(self):
        run = self.figures("requests", CART)
        self.assertEqual(HEAD + self.A + self.B + self.C, run.text)
        self.assertEqual("qmsg: 3 requests, 1 without an end\n", run.errors)

    def test_are_sorted(self):
        for order, expected in [("total", "cab"), ("sql", "abc"), ("statements", "abc"), ("errors", "abc"),
                                ("memory", "acb")]:
            with self.subTest(order):
                found = self.objects("requests", CART, "--sort", order)
                self.assertEqual(expected, "".join(one["queue_id"] for one in found))
        run = self.figures("requests", CART, "--sort", "total", "--limit", "1")
        self.assertEqual((HEAD + self.C, "qmsg: 3 requests, 1 without an end; 1 shown, --limit shows more\n"),
                         (run.text, run.errors))

    def test_are_objects(self):
        self.assertEqual([
            {"queue_id": "a", "begin": "2026-11-20 03:12:45.678", "method": "GET", "target": "/cart",
             "ended": True, "status": 500, "total_seconds": 0.007, "peak_memory": 2097152,
             "sql_seconds": 0.0035, "statements": 3, "failed_statements": 1, "errors": 1},
            {"queue_id": "b", "begin": "2026-11-20 03:12:46.000", "method": "", "target": "cron.php",
             "ended": False, "sql_seconds": 0, "statements": 0, "failed_statements": 0, "errors": 0},
            {"queue_id": "c", "ended": True, "status": 200, "total_seconds": 2, "peak_memory": 700,
             "sql_seconds": 0, "statements": 0, "failed_statements": 0, "errors": 0},
        ], self.objects("requests", CART))

    def test_with_odd_values_are_listed(self):
        run = self.figures("requests", [
            begin("x", target="\x1b[2J"),
            queries("x", *[{"duration": "315576000000s"}] * 40),
            end("x", total_time="-0.5s", memory_peak_usage="18446744073709551615")])
        self.assertEqual(
            HEAD + "1970-01-01 00:00:00.000        0     -500 ms 9,223,372,037 s     -          40       0"
                   "    16.0 EiB  x  \\x1b[2J\n", run.text)

    def test_of_a_damaged_capture_are_those_before_it(self):
        given = self.run_tool("encode", "--framing", "any",
                              given="\n".join(map(json.dumps, CART[:3])).encode()).bytes
        run = self.run_tool("requests", given=given + b"\xff" * 9, code=BAD_DATA)
        self.assertEqual(3, len(run.text.splitlines()))
        self.assertIn("message 3 at offset", run.errors)

    def test_refuse_a_limit_of_nothing(self):
        self.assertIn("--limit", self.run_tool("requests", "--limit", "0", code=WRONG_USE).errors)


class Top(Figures):
    def test_lists_statements_that_are_alike_together(self):
        alike = [
            ("SELECT * FROM a WHERE id = ?", ["SELECT * FROM a WHERE id = 1", "SELECT *\n FROM a  WHERE id = -- 2\n 'x''y'",
                                              " SELECT * FROM a WHERE id = :id ", "SELECT * FROM a WHERE id = $1",
                                              "SELECT * FROM a WHERE id = %s"]),
            ("SELECT 1x FROM a WHERE b IN (?+)".replace("1x", "x"), ["SELECT x FROM a WHERE b IN (1)",
                                                                     "SELECT x FROM a WHERE b IN ( 1, '2', ?)"]),
            ("INSERT INTO a VALUES (?+)", ["INSERT INTO a VALUES (1, 'b')", "INSERT INTO a VALUES (?, ?), (?, ?) ,(?, ?)"]),
            ("SELECT f(), a::int, (a, ?), \"order\" FROM (b", ["SELECT f(), a::int, (a, 7), \"order\" FROM (b"]),
        ]
        for fingerprint, statements in alike:
            with self.subTest(fingerprint):
                [found] = self.objects("top", [queries("a", *[{"query": text} for text in statements])])
                self.assertEqual((fingerprint, len(statements)), (found["statement"], found["count"]))
        [found] = self.objects("top", [queries("a", {"query": 'SELECT "a"', "driver_type": 1})])
        self.assertEqual("SELECT ?", found["statement"])

    def test_adds_up_times_rows_and_failures(self):
        messages = [queries("a", *[{"query": f"SELECT {i}", "duration": f"{i / 1000}s", "rows": 2}
                                   for i in range(1, 101)]),
                    queries("b", {"query": "UPDATE a", "duration": "9s", "error": {}})]
        update, select = self.objects("top", messages)
        self.assertEqual(("UPDATE a", 1, 9, 1, 0),
                         tuple(update[key] for key in ("statement", "count", "total_seconds", "failed", "rows")))
        self.assertEqual(("SELECT ?", 100, 0, 200),
                         tuple(select[key] for key in ("statement", "count", "failed", "rows")))
        self.assertAlmostEqual(5.05, select["total_seconds"])
        self.assertAlmostEqual(0.050, select["p50_seconds"], delta=0.050 * 0.03)
        self.assertAlmostEqual(0.095, select["p95_seconds"], delta=0.095 * 0.03)

    def test_names_what_one_place_repeats_in_a_request(self):
        def select(line):
            return {"query": "SELECT 1", "duration": "0.001s", "stack_trace": stack(line, 9)}
        messages = [queries("a", *[select(1)] * 4), queries("b", *[select(1)] * 3, select(2)),
                    queries("b", *[select(1)] * 3)]
        run = self.figures("top", messages)
        self.assertEqual(
            "    count       total         p50         p95  failed  sites  statement\n"
            "       11     11.0 ms     1.00 ms     1.00 ms       0      2  SELECT ?\n"
            + " " * 62 + "repeated 6 times from one place in request b\n", run.text)
        self.assertEqual("qmsg: 11 statements, 1 different, 11.0 ms\n", run.errors)
        self.assertNotIn("repeated", self.figures("top", messages[:2]).text)

    def test_shows_as_many_as_asked_for(self):
        messages = [queries("a", *[{"query": f"SELECT a{chr(97 + i)}", "duration": f"{i + 1}s"} for i in range(25)])]
        self.assertEqual(20, len(self.objects("top", messages)))
        self.assertEqual(25, len(self.objects("top", messages, "--limit", "99")))
        run = self.figures("top", messages, "--limit", "1")
        self.assertIn("SELECT ay\n", run.text)
        self.assertEqual("qmsg: 25 statements, 25 different, 325 s; 1 shown, --limit shows more\n", run.errors)


if __name__ == "__main__":
    unittest.main()
