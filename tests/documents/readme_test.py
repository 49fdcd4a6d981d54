"""The README's first screen: the recorded session, and an example of each command."""

import re
import xml.etree.ElementTree as ElementTree

import documents
from documents import Deployment, SessionTest, arguments

SVG = "{http://www.w3.org/2000/svg}"
TAB = 32


def session(theme):
    """The recorded session as text."""
    picture = ElementTree.parse(arguments.sources / "docs" / f"demo-{theme}.svg")
    return "".join("".join(row.itertext()) + "\n" for row in picture.iter(f"{SVG}text"))


def readme():
    return (arguments.sources / "README.md").read_text()


def examples():
    """The rows of the table of commands: pairs of the words of a command and its output."""
    for commands, output in re.findall(r"^\| (`blindfoldctl.*?) \| .*? \| `(.*)` \|$", readme(),
                                       re.MULTILINE):
        for words in re.findall(r"`blindfoldctl ?(.*?)`", commands):
            yield words.split(), output


class ReadmeTest(SessionTest):
    def test_it_is_read_in_a_few_minutes(self):
        self.assertLessEqual(len(readme().splitlines()), 150)

    def test_the_table_has_every_command(self):
        with Deployment() as deployment:
            usage = deployment.run("blindfoldctl", "no-such-word").stderr
        words = re.sub(" <.*?>", "", usage.split("[")[1].split("]")[0]).split("|")
        self.assertEqual(sorted(words), sorted(words[0] for words, _ in examples() if words))

    def test_every_example_is_true(self):
        with Deployment() as deployment:
            deployment.start_helper()
            for words, example in examples():
                if words == ["restore"]:
                    deployment.run("blindfoldctl", "hold-built-in")
                if words[-1:] == ["LEASE"]:
                    words = [words[0], re.search('"leaseID":"(.*?)"', deployment.run(
                        "blindfoldctl", "status").stdout).group(1)]
                pattern = re.escape(example).replace("…", ".*")
                self.assertRegex(deployment.run("blindfoldctl", *words).stdout, f"^{pattern}\n$")

    def test_both_pictures_show_the_same_commands(self):
        commands, others = ([command for command, _ in documents.commands_of_session(session(theme))]
                            for theme in ("light", "dark"))
        self.assertEqual(commands, others)

    def test_the_recorded_session_is_what_the_tool_does(self):
        documents.require("jq")
        with Deployment() as deployment:
            deployment.start_helper()
            self.check_session(deployment, session("light"), tab=TAB)


if __name__ == "__main__":
    documents.main()
