"""The recorded session that the README shows."""

import xml.etree.ElementTree as ElementTree

import documents
from documents import Deployment, SessionTest, arguments

SVG = "{http://www.w3.org/2000/svg}"
TAB = 32


def session(theme):
    """The session as text."""
    picture = ElementTree.parse(arguments.sources / "docs" / f"demo-{theme}.svg")
    return "".join("".join(row.itertext()) + "\n" for row in picture.iter(f"{SVG}text"))


class PictureTest(SessionTest):
    def test_both_themes_show_the_same_commands(self):
        commands, others = ([command for command, _ in documents.commands_of_session(session(theme))]
                            for theme in ("light", "dark"))
        self.assertEqual(commands, others)

    def test_the_session_is_what_the_tool_does(self):
        documents.require("jq")
        with Deployment() as deployment:
            deployment.start_helper()
            self.check_session(deployment, session("light"), tab=TAB)


if __name__ == "__main__":
    documents.main()
