"""The completion scripts, run by their shells."""

import os
import pathlib
import re
import select
import shlex
import shutil
import subprocess
import tempfile
import time
import unittest

import tool
from support import SAMPLE, command_names, messages, output_of, qmsg

SHORT_NAMES = {"SqlQuery", "SqlQueries", "SqlConnection", "SqlConnections", "SqlTransaction",
               "SqlTransactions", "SqlError"}


class Shell:
    """What each shell has to offer; `complete` is the shell's own: the words for a line."""

    def setUp(self):
        if shutil.which(self.name) is None:
            self.skipTest(f"there is no {self.name}")
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.script = self.folder / self.file
        self.script.write_text(output_of("completion", self.name), encoding="ascii")
        self.environment = {**os.environ, "HOME": str(self.folder), "TERM": "dumb",
                            "PATH": f"{pathlib.Path(tool.PROGRAM).parent}:{os.environ['PATH']}"}

    def test_commands(self):
        self.assertEqual(self.complete("qmsg de") - {"decode"}, {"describe"})
        self.assertEqual(self.complete("qmsg "), set(command_names()))

    def test_options(self):
        self.assertEqual(self.complete("qmsg describe --f"), {"--format"})
        self.assertEqual(self.complete("qmsg --v"), {"--version"})
        self.assertEqual(self.complete("qmsg types --j"), {"--json"})
        self.assertEqual(self.complete("qmsg types --f"), set())

    def test_values_of_choices(self):
        self.assertEqual(self.complete("qmsg describe --format "), {"text", "json", "markdown"})
        self.assertEqual(self.complete("qmsg describe SqlQuery --format m"), {"markdown"})
        self.assertEqual(self.complete("qmsg completion z"), {"zsh"})

    def test_names(self):
        self.assertEqual({name for name in self.complete("qmsg describe Sql") if "." not in name},
                         SHORT_NAMES)
        self.assertEqual(self.complete("qmsg describe SqlQuery.f"), {"SqlQuery.flags"})
        self.assertEqual(self.complete("qmsg describe Tarq.E"), {"Tarq.Error"} | {
            f"Tarq.Error.{field.name}" for message in messages()
            if message.full_name == "quor.protobuf.Tarq.Error" for field in message.fields})
        self.assertIn("tarq.proto", self.complete("qmsg describe ta"))
        self.assertEqual(self.complete("qmsg describe --format json quor.protobuf.Tarq.SqlEr"),
                         {"quor.protobuf.Tarq.SqlError", "quor.protobuf.Tarq.SqlError.message"})
        self.assertLessEqual({message.full_name for message in messages()},
                             self.complete("qmsg describe quor"))

    def test_message_types_and_files_as_values(self):
        made = subprocess.run([SAMPLE, self.name], capture_output=True, text=True, check=True)
        self.script.write_text(made.stdout, encoding="ascii")
        (self.folder / "cap one.bin").touch()
        (self.folder / "cap.d").mkdir()
        self.assertEqual(self.complete("qmsg read --as Tarq.Err"), {"Tarq.Error"})
        self.assertEqual(self.complete("qmsg read -a Tarq.Err"), {"Tarq.Error"})
        self.assertEqual(self.complete("qmsg read --level "), set())
        files = {"cap one.bin", "cap.d"}
        self.assertEqual(self.files("qmsg read cap"), files)
        self.assertEqual(self.files("qmsg read --as Tarq.Error cap.d cap"), files)
        self.assertEqual(self.complete("qmsg pair Tarq.Err"), {"Tarq.Error"})
        self.assertEqual(self.files("qmsg pair Tarq.Error cap"), files)

    def files(self, line):
        """The files on offer, without the signs that a shell puts around or behind a name."""
        return {word.replace("\\", "").rstrip("/") for word in self.complete(line)}


class Bash(Shell, unittest.TestCase):
    name = "bash"
    file = "qmsg"

    def complete(self, line):
        # As bash does it: "=" is a word of its own.
        words = re.findall(r"=|[^\s=]+", line)
        if line.endswith((" ", "=")):
            words.append("")
        script = f"""
            . {shlex.quote(str(self.script))}
            complete -p qmsg | grep -q -- '-F _qmsg qmsg' || exit 9
            COMP_WORDS=({' '.join(map(shlex.quote, words))}) COMP_CWORD={len(words) - 1}
            _qmsg qmsg
            printf '%s\\n' "${{COMPREPLY[@]}}"
        """
        result = subprocess.run(["bash", "-eu", "-c", script], capture_output=True, text=True,
                                env=self.environment, cwd=self.folder, check=True)
        self.assertEqual(result.stderr, "")
        return set(filter(None, result.stdout.split("\n")))

    def test_values_after_an_equals_sign(self):
        self.assertEqual(self.complete("qmsg describe --format=m"), {"markdown"})
        self.assertEqual(self.complete("qmsg describe --format=json SqlQuery.f"),
                         {"SqlQuery.flags"})

    def test_is_clean_for_shellcheck(self):
        if shutil.which("shellcheck") is None:
            self.skipTest("there is no shellcheck")
        result = subprocess.run(["shellcheck", str(self.script)], capture_output=True, text=True,
                                check=False)
        self.assertEqual((result.returncode, result.stdout), (0, ""))

    def test_nothing_after_the_last_argument(self):
        self.assertEqual(self.complete("qmsg completion zsh "), set())


class Zsh(Shell, unittest.TestCase):
    name = "zsh"
    file = "_qmsg"

    # An interactive shell, whose compadd writes down what it was given that fits.
    PREPARE = """
        PS1=; unsetopt zle_bracketed_paste prompt_cr prompt_sp; setopt no_beep
        zstyle ':completion:*' list-prompt ''; LISTMAX=10000
        fpath=(%(folder)s $fpath)
        autoload -Uz compinit && compinit -u -d %(folder)s/dump
        compadd() {
            if [[ ${@[1,(i)(-|--)]} != *-(O|A|D)\\ * ]]; then
                local -a fitting
                builtin compadd -A fitting "$@"
                (( $#fitting )) && print -rl -- $fitting >> %(folder)s/offered
            fi
            builtin compadd "$@"
        }
        finish() { zle complete-word; BUFFER=; : > %(folder)s/finished }
        zle -N finish
        bindkey '^I' finish
        : > %(folder)s/ready
    """

    def wait_for(self, terminal, name):
        deadline = time.monotonic() + 60
        while not (self.folder / name).exists():
            self.assertLess(time.monotonic(), deadline, f"zsh never wrote {name}")
            if select.select([terminal], [], [], 0.02)[0]:
                os.read(terminal, 65536)

    def complete(self, line):
        for name in ("offered", "finished", "ready"):
            (self.folder / name).unlink(missing_ok=True)
        prepare = self.folder / "prepare"
        prepare.write_text(self.PREPARE % {"folder": shlex.quote(str(self.folder))},
                           encoding="ascii")
        ours, its = tool.open_terminal()
        with subprocess.Popen(["zsh", "-f", "-i"], stdin=its, stdout=its, stderr=its,
                              env=self.environment, cwd=self.folder,
                              start_new_session=True) as shell:
            os.close(its)
            os.write(ours, f". {shlex.quote(str(prepare))}\n".encode())
            self.wait_for(ours, "ready")
            os.write(ours, f"{line}\t".encode())
            self.wait_for(ours, "finished")
            shell.kill()
        os.close(ours)
        offered = self.folder / "offered"
        return set(offered.read_text(encoding="ascii").splitlines()) if offered.exists() else set()

    def test_can_be_sourced_too(self):
        script = (f"autoload -Uz compinit && compinit -u -d {self.folder}/dump; "
                  f". {shlex.quote(str(self.script))}; print -- $_comps[qmsg]")
        result = subprocess.run(["zsh", "-f", "-c", script], capture_output=True, text=True,
                                env=self.environment, check=True)
        self.assertEqual((result.stdout, result.stderr), ("_qmsg\n", ""))


class Fish(Shell, unittest.TestCase):
    name = "fish"
    file = "qmsg.fish"

    def complete(self, line):
        script = f"source {self.script}; complete -C {shlex.quote(line)}"
        result = subprocess.run(["fish", "--no-config", "-c", script], capture_output=True,
                                text=True, env=self.environment, cwd=self.folder, check=True)
        self.assertEqual(result.stderr, "")
        return {row.split("\t")[0] for row in result.stdout.splitlines()}

    def test_descriptions(self):
        script = f"source {self.script}; complete -C 'qmsg desc'"
        result = subprocess.run(["fish", "--no-config", "-c", script], capture_output=True,
                                text=True, env=self.environment, check=True)
        self.assertEqual(result.stdout, "describe\tExplain a message, field, enum, value, oneof "
                                        "or file\n")


class CommandLine(unittest.TestCase):
    def test_lists_the_shells(self):
        status, output, errors = qmsg("completion", "csh")
        self.assertEqual((status, output), (2, ""))
        self.assertIn("csh not in {bash,zsh,fish}", errors)

    def test_needs_a_shell(self):
        status, output, _ = qmsg("completion")
        self.assertEqual((status, output), (2, ""))


if __name__ == "__main__":
    unittest.main()
