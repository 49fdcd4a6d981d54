"""The recipes of docs/scripting.md, run."""

import plistlib
import re
import subprocess

import documents
from documents import Deployment, SessionTest, arguments


def sections():
    """The page's sections: pairs of title and the fenced blocks, each a pair of its information
    string and its text."""
    page = (arguments.sources / "docs" / "scripting.md").read_text()
    for section in page.split("\n## ")[1:]:
        blocks = re.findall(r"^```([^\n]+)\n(.*?)^```$", section, re.DOTALL | re.MULTILINE)
        yield section.split("\n")[0], blocks


def file_of_page(name):
    for _, blocks in sections():
        for information, text in blocks:
            if information.split()[1:] == [name]:
                return text
    raise KeyError(name)


def write_programs(deployment):
    for _, blocks in sections():
        for information, text in blocks:
            if text.startswith("#!"):
                deployment.write_program(information.split()[1], text)


class ScriptingTest(SessionTest):
    maxDiff = None

    def setUp(self):
        documents.require("jq")

    def test_every_session_is_true(self):
        count = 0
        for title, blocks in sections():
            sessions = [text for information, text in blocks if information == "console"]
            for session in sessions:
                with self.subTest(title), Deployment() as deployment:
                    write_programs(deployment)
                    deployment.start_helper()
                    deployment.variables["HELPER_PROCESS"] = str(deployment.helper.pid)
                    self.check_session(deployment, session)
                    count += 1
        self.assertGreaterEqual(count, 8)

    def test_every_program_has_a_session(self):
        sessions = "".join(text for _, blocks in sections() for information, text in blocks
                           if information == "console")
        for _, blocks in sections():
            for information, text in blocks:
                if text.startswith("#!"):
                    self.assertIn(information.split()[1], sessions)

    def test_the_programs_pass_shellcheck(self):
        documents.require("shellcheck")
        with Deployment() as deployment:
            write_programs(deployment)
            programs = [path for path in deployment.bin.iterdir()
                        if not path.name.startswith("blindfold")]
            self.assertGreaterEqual(len(programs), 5)
            subprocess.run(["shellcheck", *programs], check=True)

    def test_a_hold_is_renewed_for_as_long_as_a_program_runs(self):
        with Deployment() as deployment:
            write_programs(deployment)
            deployment.start_helper("--record", "messages")
            deployment.variables["RENEWAL_SECONDS"] = "0.3"
            three_renewals = 'until [ "$(grep -c ^renew messages)" -ge 3 ]; do sleep 0.1; done'
            deployment.run("hold-while", "sh", "-c", three_renewals)
            messages = (deployment.directory / "messages").read_text().splitlines()
            selectors = [message.split("\t")[0] for message in messages]
            self.assertEqual(["detectTargets:", "hold:withReply:"], selectors[:2])
            self.assertEqual("release:withReply:", selectors[-1])
            self.assertGreaterEqual(len(selectors[2:-1]), 3)
            self.assertEqual({"renew:withReply:"}, set(selectors[2:-1]))

    def test_the_launchd_job_runs_the_program_that_the_page_shows(self):
        name = "com.example.hold-or-renew.plist"
        job = plistlib.loads(file_of_page(name).encode())
        self.assertEqual(name, job["Label"] + ".plist")
        self.assertEqual(["/usr/local/bin/hold-or-renew"], job["ProgramArguments"])
        self.assertTrue(file_of_page("hold-or-renew"))
        # Twice in the 30 seconds that a lease lasts, so that one run may fail.
        self.assertLessEqual(2 * job["StartInterval"], 30)
        self.assertLessEqual(
            set(job), {"Label", "ProgramArguments", "EnvironmentVariables", "RunAtLoad",
                       "StartInterval", "StandardErrorPath"})

    def run_playbook(self, deployment):
        (deployment.directory / "camera.yml").write_text(file_of_page("camera.yml"))
        directory = str(deployment.directory)
        deployment.variables |= {"ANSIBLE_HOME": directory, "ANSIBLE_LOCAL_TEMP": directory,
                                 "ANSIBLE_PIPELINING": "1"}
        variables = f"ansible_python_interpreter=/usr/bin/python3 ansible_remote_tmp={directory}"
        # It takes seconds of its own to start.
        finished = deployment.run(
            "ansible-playbook", "--inventory", "localhost,", "--connection", "local",
            "--extra-vars", variables, "camera.yml",
            timeout=4 * documents.DEADLINE)
        recap = finished.stdout.splitlines()[-2] if finished.stdout else finished.stderr
        return {name: int(value) for name, value in re.findall(r"(\w+)=(\d+)", recap)}

    def test_the_playbook_holds_the_camera_once(self):
        documents.require("ansible-playbook")
        with Deployment() as deployment:
            deployment.start_helper("--record", "messages")
            recap = self.run_playbook(deployment)
            self.assertEqual((1, 0), (recap["changed"], recap["failed"]))
            messages = (deployment.directory / "messages").read_text().splitlines()
            self.assertEqual(["currentState:", "detectTargets:", "hold:withReply:"],
                             [message.split("\t")[0] for message in messages])
            deployment.stop_helper()
            held = 'currentState: reply {"mode":"held","leaseID":"1"}\n'
            (deployment.directory / "script").write_text(held)
            deployment.start_helper("--script", "script")
            recap = self.run_playbook(deployment)
            self.assertEqual((0, 1, 0), (recap["changed"], recap["skipped"], recap["failed"]))

    def test_the_playbook_fails_where_there_is_no_helper(self):
        documents.require("ansible-playbook")
        with Deployment() as deployment:
            self.assertEqual(1, self.run_playbook(deployment)["failed"])


if __name__ == "__main__":
    documents.main()
