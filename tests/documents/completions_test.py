"""What Tab offers at each place of a command line, in the shells themselves."""

import os
import pty
import re
import select
import subprocess
import time
import unittest

import documents
from documents import Deployment, arguments

WORDS = ["status", "detect", "hold-built-in", "release", "restore", "renew", "mute", "unmute"]
PROMPT = "PROMPT:"
LEASE_DESCRIPTION = "The lease of the current hold"


def completions():
    return arguments.sources / "share" / "completions"


class Terminal:
    """An interactive shell at a terminal. Two keys are bound by the shell's start: Alt-? lists what
    could be completed here, and Ctrl-T prints the line as it stands."""

    def __init__(self, deployment, command, start):
        self._process, self._terminal = pty.fork()
        if self._process == 0:
            os.chdir(deployment.directory)
            environment = deployment.environment | {"PS1": PROMPT, "TERM": "dumb", "COLUMNS": "200"}
            os.execvpe(command[0], command, environment)
        self._received = ""
        self._run(start)

    def close(self):
        os.close(self._terminal)
        os.waitpid(self._process, 0)

    def type(self, text):
        os.write(self._terminal, text.encode())

    def read_until(self, pattern):
        """What the shell shows up to and with the pattern; the rest is kept for the next call."""
        deadline = time.monotonic() + documents.DEADLINE
        while not (found := re.search(pattern, self._received)):
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self._terminal], [], [], left)[0]:
                raise TimeoutError(f"no {pattern!r} in {self._received!r}")
            self._received += os.read(self._terminal, 4096).decode(errors="replace")
        shown = self._received[:found.end()]
        self._received = self._received[found.end():]
        return shown

    def _run(self, command):
        """Runs the command; returns once the shell's line editor reads the next line."""
        self.type(command + "\necho rea''dy\n")
        self.read_until(r"ready\r\n\s*" + PROMPT)

    def _press(self, line, key):
        """Types the line and the key; returns what is shown, and the line as it then stands."""
        self.type(line + key + "\x14")
        shown = self.read_until(r"LINE<[^>]*>\r?\n")
        self.type("\x15")
        self._run("")
        return shown, shown[shown.rindex("LINE<") + 5:shown.rindex(">")]

    def line_after_tab(self, line):
        return self._press(line, "\t")[1]

    def shown_at(self, line):
        return self._press(line, "\x1b?")[0].replace(line, "", 1)


class ShellTests:
    """What holds in every shell. A shell says what it offers after a line (`offered`: pairs of word
    and description), and how the line stands after Tab (`line_after_tab`)."""

    describes = True

    def setUp(self):
        self.deployment = self.enterContext(Deployment())
        self.deployment.variables["COMPLETIONS"] = str(completions())

    def words_offered(self, line):
        return [word for word, _ in self.offered(line)]

    def hold(self):
        result = self.deployment.run("blindfoldctl", "hold-built-in").stdout
        return re.search('"leaseID":"([^"]*)"', result).group(1)

    def test_every_word_is_offered_after_the_program(self):
        self.assertEqual(sorted(WORDS), sorted(self.words_offered("blindfoldctl ")))

    def test_the_words_that_begin_so_are_offered(self):
        self.assertEqual(["release", "renew", "restore"],
                         sorted(self.words_offered("blindfoldctl re")))
        self.assertEqual([], self.words_offered("blindfoldctl x"))

    def test_a_word_is_completed(self):
        self.assertEqual("blindfoldctl hold-built-in ", self.line_after_tab("blindfoldctl h"))

    def test_the_program_may_stand_behind_another_command(self):
        self.assertEqual("true; blindfoldctl hold-built-in ",
                         self.line_after_tab("true; blindfoldctl h"))

    def test_nothing_is_offered_after_words_that_take_nothing(self):
        (self.deployment.directory / "a-file").touch()
        self.deployment.start_helper()
        lease = self.hold()
        for word in WORDS:
            if word != "renew":
                self.assertEqual([], self.words_offered(f"blindfoldctl {word} "), word)
        self.assertEqual([], self.words_offered(f"blindfoldctl renew {lease} "))
        self.assertEqual([], self.words_offered("blindfoldctl none "))
        self.assertEqual([], self.words_offered("blindfoldctl status renew "))

    def test_the_lease_is_offered_after_renew(self):
        self.deployment.start_helper()
        lease = self.hold()
        description = LEASE_DESCRIPTION if self.describes else ""
        self.assertEqual([(lease, description)], self.offered("blindfoldctl renew "))
        self.assertEqual(f"blindfoldctl renew {lease}",
                         self.line_after_tab(f"blindfoldctl renew {lease[:7]}").rstrip())

    def test_a_lease_that_begins_otherwise_is_not_offered(self):
        self.deployment.start_helper()
        self.hold()
        self.assertEqual([], self.words_offered("blindfoldctl renew x"))

    def test_no_lease_is_offered_while_nothing_is_held(self):
        self.deployment.start_helper()
        self.assertEqual([], self.words_offered("blindfoldctl renew "))

    def test_nothing_is_offered_or_shown_while_no_helper_runs(self):
        self.assertEqual([], self.words_offered("blindfoldctl renew "))

    def test_a_helper_that_does_not_answer_holds_nobody_up(self):
        (self.deployment.directory / "script").write_text("currentState: silent\n")
        self.deployment.start_helper("--script", "script")
        start = time.monotonic()
        self.assertEqual([], self.words_offered("blindfoldctl renew "))
        self.assertLess(time.monotonic() - start, 4)

    def start_helper_with_lease(self, lease):
        (self.deployment.directory / "script").write_text(
            f'currentState: reply {{"mode":"held","leaseID":"{lease}"}}\n')
        self.deployment.start_helper("--script", "script")

    def test_a_lease_of_odd_characters_arrives_whole(self):
        self.start_helper_with_lease("a:b/c=d e$f")
        for typed in ("", "a", "a:", "a:b/c=d"):
            line = self.line_after_tab(f"blindfoldctl renew {typed}")
            word = subprocess.run(
                ["bash", "-c", f"set -- {line}; printf '%s' \"$3\""],
                stdout=subprocess.PIPE, text=True, check=True).stdout
            self.assertEqual("a:b/c=d e$f", word, line)

    def test_a_lease_that_needs_unescaping_is_not_offered(self):
        self.start_helper_with_lease(r"a\"b")
        self.assertEqual([], self.words_offered("blindfoldctl renew "))

    def test_the_words_are_those_of_the_usage(self):
        usage = self.deployment.run("blindfoldctl", "no-such-word").stderr
        words = re.sub(" <.*?>", "", usage.split("[")[1].split("]")[0]).split("|")
        self.assertEqual(sorted(WORDS), sorted(words))


class BashTest(ShellTests, unittest.TestCase):
    describes = False
    version = ""

    def setUp(self):
        super().setUp()
        self.terminal = Terminal(
            self.deployment, ["bash", "--norc", "--noprofile", "--noediting", "-i"],
            "set -o emacs; bind 'set enable-bracketed-paste off'; bind 'set bell-style none'; "
            "bind 'set completion-query-items 0'; bind 'set page-completions off'; "
            """bind -x '"\\C-t": printf "LINE<%s>\\n" "$READLINE_LINE"'; """
            f"{self.version} . \"$COMPLETIONS\"/blindfoldctl.bash")
        self.addCleanup(self.terminal.close)

    def line_after_tab(self, line):
        return self.terminal.line_after_tab(line)

    def offered(self, line):
        shown = self.terminal.shown_at(line).split("LINE<")[0]
        return [(word, "") for word in shown.split(PROMPT)[0].split()]


class Bash32Test(BashTest):
    """The same without what bash learned after 3.2, as far as a newer one can leave it out."""

    version = ("BASH_COMPAT=3.2; enable -n compopt mapfile readarray; "
               "mapfile() { echo too new; }; ")

    def test_the_script_keeps_to_the_syntax_of_3_2(self):
        script = (completions() / "blindfoldctl.bash").read_text()
        newer = (r"\|&", r"&>>", r";;?&", r"declare -[gAn]|local -[An]", r"\$\{\w+[,^@]", r"coproc",
                 r"\[\[? -v", r"\w\+=\(", r"read [^\n]*-t \d*\.", r"-\w*[iN] ", r"\$\{\w+: -\d")
        for construct in newer:
            self.assertNotRegex(script, construct)


class ZshTest(ShellTests, unittest.TestCase):
    def setUp(self):
        documents.require("zsh")
        super().setUp()
        self.terminal = Terminal(
            self.deployment, ["zsh", "-f", "-i"],
            "PROMPT_EOL_MARK=; unsetopt prompt_sp; bindkey -e; COLUMNS=200; "
            "fpath=($COMPLETIONS $fpath); autoload -U compinit; compinit -u -D; "
            "line() { print -r -- \"LINE<$BUFFER>\" }; zle -N line; bindkey '^T' line; "
            "bindkey '^[?' list-choices; zstyle ':completion:*' list-packed no; "
            "LISTMAX=0; unsetopt list_types auto_list")
        self.addCleanup(self.terminal.close)

    def line_after_tab(self, line):
        return self.terminal.line_after_tab(line)

    def offered(self, line):
        shown = self.terminal.shown_at(line).split("LINE<")[0]
        pairs = []
        for row in re.split(r"[\r\n]+", shown):
            if found := re.fullmatch(r"(\S.*?) +-- (.*?) *", row):
                pairs.append(found.groups())
        return pairs

    def test_words_have_descriptions(self):
        check_descriptions(self)


class FishTest(ShellTests, unittest.TestCase):
    def setUp(self):
        documents.require("fish")
        super().setUp()

    def _run(self, code):
        finished = self.deployment.run(
            "fish", "--no-config", "-c", f"source $COMPLETIONS/blindfoldctl.fish; {code}")
        self.assertEqual("", finished.stderr)
        return finished.stdout

    def offered(self, line):
        rows = self._run(f"complete --do-complete '{line}'").splitlines()
        return [tuple((row + "\t").split("\t")[:2]) for row in rows]

    def line_after_tab(self, line):
        words = self.words_offered(line)
        self.assertEqual(1, len(words), words)
        # fish escapes what it inserts.
        word = self._run(f"string escape -- '{words[0]}'").strip()
        return line[:line.rindex(" ") + 1] + word + " "

    def test_words_have_descriptions(self):
        check_descriptions(self)


def check_descriptions(test):
    """Every word has the description that zsh shows for it."""
    zsh = dict(re.findall(r"^    '([a-z-]+):(.*)'$", (completions() / "_blindfoldctl").read_text(),
                          re.MULTILINE))
    test.assertEqual(set(WORDS), set(zsh))
    test.assertEqual(zsh, dict(test.offered("blindfoldctl ")))


if __name__ == "__main__":
    documents.main()
