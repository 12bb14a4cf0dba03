"""Tests of run_page.py. The environment variable PREFIX names the installation."""

import os
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parent))
import run_page  # pylint: disable=wrong-import-position


def run(text, update=False, name="page.md"):
    """Runs a page and returns its problems and its text afterwards."""
    with tempfile.TemporaryDirectory(prefix="quarn-pages-") as folder:
        page = pathlib.Path(folder) / name
        page.write_text(text, encoding="utf-8")
        try:
            problems, _ = run_page.run_page(page, pathlib.Path(os.environ["PREFIX"]), update)
        except run_page.PageError as error:
            problems = [str(error)]
        return "\n".join(problems), page.read_text(encoding="utf-8")


def block(language, *lines):
    return "\n".join([f"```{language}", *lines, "```", ""])


class Runner(unittest.TestCase):
    def takes(self, *blocks):
        self.assertEqual(run("# Page\n\n" + "\n".join(blocks))[0], "")

    def refuses(self, reason, *blocks):
        self.assertIn(reason, run("# Page\n\n" + "\n".join(blocks))[0])

    def test_output_must_match_exactly(self):
        self.takes(block("console", "$ echo one; echo two >&2", "one", "two"))
        self.refuses("but prints:", block("console", "$ echo one", "on"))
        self.refuses("but prints:", block("console", "$ echo one; echo two", "one"))
        self.refuses("but prints:", block("console", "$ echo one", "one", "two"))
        self.refuses("but prints:", block("console", "$ true", "one"))

    def test_an_ellipsis_matches_any_lines(self):
        self.takes(block("console", "$ seq 9", "1", "…", "8", "9"), block("console", "$ seq 2", "…", "1", "2", "…"))
        self.refuses("but prints:", block("console", "$ seq 9", "1", "…", "8"))

    def test_a_failing_command_must_show_its_status(self):
        self.refuses("exited with 1", block("sh", "true", "false"))
        self.refuses("exited with 1, but the page does not show it", block("console", "$ false"))
        self.refuses("exited with 3", block("sh", "(exit 3) | cat"))
        self.takes(block("console", "$ (exit 7)", "$ echo $?", "7"))

    def test_folder_and_variables_persist(self):
        self.takes(block("sh", "mkdir inner", "cd inner", "word=carried"),
                   block("console", "$ echo $word; basename $PWD", "carried", "inner"))

    def test_a_command_can_continue_on_the_next_line(self):
        self.takes(block("console", "$ cat <<END", "> one", "> END", "one"))

    def test_blocks_with_the_same_file_are_concatenated(self):
        self.takes(block("text notes.txt", "one"), block("text notes.txt", "two"),
                   block("console", "$ cat notes.txt", "one", "two"))
        self.refuses("must be a file name without a folder", block("text ../notes.txt", "one"))

    def test_a_conversation_is_compared_line_by_line(self):
        volume = "<!-- run: mkdir -p mac/Users/ann -->\n"
        ask = '> {"jsonrpc":"2.0","id":1,"method":"VolumeLocationChecker.isExternal","params":{"url":"/"}}'
        self.takes(volume, block("jsonrpc", ask, '< {"jsonrpc":"2.0","id":1,"result":false}'))
        self.refuses("received:", volume, block("jsonrpc", ask, '< {"jsonrpc":"2.0","id":1,"result":true}'))
        self.refuses("the conversation exited with 0 and:", volume, block("jsonrpc", ask))

    def test_no_block_is_ignored(self):
        self.refuses("is an unknown language", block("bash", "true"))
        self.refuses("is an unknown language", block("", "true"))
        self.refuses("the block is not closed", "```sh\ntrue\n")
        self.refuses("does not run", block("sh", "true"), "Text:\n\n    quarn apps\n")
        self.refuses("does not run", block("sh", "true"), "- a list\n\n  ```sh\n  false\n  ```\n")
        self.refuses("must begin with a command", block("console", "one"))
        self.refuses("a page must have blocks", "Only words.\n")
        self.refuses("dead link", "[a link](nowhere.md)\n", block("sh", "true"))

    def test_pages_without_blocks_are_listed(self):
        self.assertEqual(run("Only words.\n", name="decisions.md")[0], "")
        self.assertIn("a page must have blocks", run(block("sh", "true"), name="decisions.md")[0])

    def test_update_replaces_output_and_keeps_ellipses(self):
        page = "# Page\n\n" + block("console", "$ echo one", "old", "$ seq 3", "1", "…") + "\nEnd.\n"
        self.assertEqual(run(page, update=True)[1], page.replace("old", "one"))


if __name__ == "__main__":
    unittest.main()
