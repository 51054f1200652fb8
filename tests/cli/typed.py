"""Runs a command at a terminal and types an answer at each question: typed.py ANSWER... -- COMMAND...

A question ends with a colon and a blank. What the terminal showed goes to standard output, without the echo of the answers if there was none;
the status is the command's. A minute is the most that it may take.
"""
import os
import pty
import signal
import sys

answers, command = sys.argv[1 : sys.argv.index("--")], sys.argv[sys.argv.index("--") + 1 :]
signal.alarm(60)
process, terminal = pty.fork()
if process == 0:
    os.execvp(command[0], command)
shown = since = b""
while True:
    try:
        read = os.read(terminal, 4096)
    except OSError:  # the other side is closed
        break
    if not read:
        break
    shown += read
    since += read
    if answers and since.endswith(b": "):
        os.write(terminal, answers.pop(0).encode() + b"\n")
        since = b""
sys.stdout.buffer.write(shown.replace(b"\r\n", b"\n"))
sys.stdout.flush()
sys.exit(os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]))
