# SPDX-License-Identifier: Apache-2.0
"""Runs what a document shows of a terminal.

Lines that begin with "$ " are commands; a backslash at the end continues one, with or without "> "
in the next line, and so do lines that begin with "> ". The lines below a command are what it prints, in which "..." stands for anything;
without such lines it may print what it likes. A command has to succeed, unless the next one is
"echo $?". All commands of a document are one session, in a directory and with a server instance of
its own.

Three things are different from a user's terminal. A server that is not told where to play plays
nowhere. The instance "work" is one that nobody else has. And a command in the background is given
the time to come up before the next one.
"""

import itertools
import os
import re
import shutil
import signal
import subprocess
import time

from surroundings import (
    LIBDIR,
    PREFIX,
    PYTHON,
    PYTHON_DIRECTORY,
    clean_environment,
    fresh_directory,
    write_tone,
)

_SESSIONS = itertools.count()
_MARK = "@@command@@"
_BOUND = 240  # seconds for a whole session; nothing takes nearly as long on an idle machine

# Sound files that documents play without having made them, and their seconds. Music does not come
# to its end before something is done to it.
_SOUNDS = {"news.wav": 1, "song.flac": 1, "voice.wav": 1, "prompt.wav": 1, "music.wav": 120}

# Stands in front of the server: no test makes a noise, and a trace is not what a command prints.
_QUIET_SERVER = """#!/bin/sh
case " $* " in
    *" --output "* | *" --output="* | *" --help "* | *" --version "*) ;;
    *) set -- --output null "$@" ;;
esac
exec {program} "$@"
"""

_PROLOGUE = """
exec 2>&1
mark() { printf '%s %s %s\\n' '@@command@@' "$1" "$2"; }
# up NAME OPTION...: until the server answers and, with a name, has such a stream.
up() {
    name=$1
    shift
    for _ in $(seq 300); do
        if state=$(cabinaudio server state --json --timeout 2 "$@" 2>/dev/null); then
            case $state in *"\\"name\\":\\"$name\\""*) return ;; esac
            [ -z "$name" ] && return
        fi
        sleep 0.1
    done
    echo "nothing came up"
}
"""


class Command:
    def __init__(self, text):
        self.text = text
        self.expected = []  # lines

    def matches(self, printed):
        """Whether it has printed what the document says."""
        if not self.expected:
            return True
        pattern = re.escape("\n".join(self.expected)).replace(re.escape("..."), ".*?")
        return re.fullmatch(pattern, printed.rstrip("\n"), re.DOTALL) is not None


def parse(lines):
    """The commands in the lines of a document's terminal."""
    commands = []
    unfinished = False
    for line in lines:
        if unfinished:
            commands[-1].text += "\n" + re.sub("^> ", "", line)
        elif commands and not commands[-1].expected and re.match(r">( |$)", line):
            commands[-1].text += "\n" + line[2:]
            continue
        elif line.startswith("$ "):
            commands.append(Command(line[2:]))
        elif commands:
            commands[-1].expected.append(line)
            continue
        elif line.strip():
            raise AssertionError(f"output without a command: {line}")
        unfinished = line.endswith("\\")
    for command in commands:
        while command.expected and not command.expected[-1].strip():
            command.expected.pop()
    return commands


def _in_background(text):
    return re.search(r"(?<!&)&\s*(#.*)?$", text) is not None


def _script(commands):
    script = _PROLOGUE
    for index, command in enumerate(commands):
        text = command.text
        script += f"mark {index} begin\n"
        if _in_background(text):
            bare = re.sub(r"&\s*(#.*)?$", "", text)
            name = re.search(r"--name[ =](\S+)", bare)
            # In front: the command may redirect its output itself. Nothing stands between the shell
            # and the program, so that a signal to the job reaches it.
            script += f">background.{index} 2>&1 {bare} &\n"
            instance = re.search(r"--instance \S+", bare)
            script += f"up '{name.group(1) if name else ''}'"
            script += f" {instance.group() if instance else ''}\n"
            script += f"mark {index} 0\n"
            continue
        if "until Ctrl-C" in text:
            text = f"timeout --foreground --signal=INT --preserve-status 3 {text}"
        follows = index > 0 and command.text == "echo $?"
        script += "(exit $status)\n" if follows else ""
        script += f"{text}\nstatus=$?\n"
        script += f"mark {index} $status\n"
    # In order: the server removes its memory.
    return script + "kill $(jobs -p) 2>/dev/null\nwait\n"


def _alsa_configuration(directory, tree):
    """ALSA's files as if its plug-in were installed where the system looks. Returns their list."""
    modules = tree / LIBDIR / "alsa-lib"
    module = modules / "libasound_module_pcm_cabinaudio-devkit.so"
    configuration = directory / ".alsa.conf"
    configuration.write_text(
        "</usr/share/alsa/alsa.conf>\n"
        f"<{tree}/share/alsa/alsa.conf.d/50-cabinaudio.conf>\n"
        f'pcm_type.cabinaudio.lib "{module}"\n'
        f'ctl_type.cabinaudio.lib "{module}"\n')
    return configuration


def _started_environment(directory, programs, home):
    shims = directory / ".shims"
    shims.mkdir()
    server = shims / "cabinaudio-server"
    server.write_text(_QUIET_SERVER.format(program=programs / "cabinaudio-server"))
    server.chmod(0o755)
    if PYTHON_DIRECTORY:
        (shims / "python3").symlink_to(PYTHON)
    temporary = directory / ".tmp"  # for what a failed scenario keeps, among others
    temporary.mkdir()
    if home is None:
        home = directory / ".home"
        home.mkdir()
        (home / ".local").symlink_to(programs.parent)
    return clean_environment(
        PATH=f"{shims}:{programs}:{os.environ['PATH']}",
        HOME=home,
        TMPDIR=temporary,
        # As if it were installed where the system looks.
        LD_LIBRARY_PATH=programs.parent / LIBDIR if programs.parent == PREFIX else "",
        ALSA_CONFIG_PATH=_alsa_configuration(directory, programs.parent),
        PYTHONPATH=programs.parent / PYTHON_DIRECTORY,
        PYTHONDONTWRITEBYTECODE=1,
        GST_PLUGIN_PATH=programs.parent / LIBDIR / "gstreamer-1.0",
        GST_REGISTRY=directory / ".gstreamer",
        PKG_CONFIG_PATH=programs.parent / LIBDIR / "pkgconfig",
        CABINAUDIO_INSTANCE=f"docs-{os.getpid()}-{next(_SESSIONS)}")


def run_session(case, name, lines, files=(), tree=PREFIX, home=None):
    """Runs the commands in the lines, with copies of the files beside them and the programs of an
    installed tree; the test case gets the failures."""
    commands = parse(lines)
    case.assertTrue(commands, f"{name} has no commands")
    directory = fresh_directory(f"session-{name}")
    for sound, seconds in _SOUNDS.items():
        if any(sound in command.text for command in commands):
            write_tone(directory / sound, seconds)
    for file in files:
        shutil.copy(file, directory)
    environment = _started_environment(directory, tree / "bin", home)
    work = environment["CABINAUDIO_INSTANCE"] + "-work"
    for command in commands:
        command.text = command.text.replace("--instance work", f"--instance {work}")
    with open(directory / ".output", "w+b") as output:
        shell = subprocess.Popen(
            ["bash", "-c", _script(commands)], cwd=directory, env=environment,
            stdin=subprocess.DEVNULL, stdout=output, start_new_session=True)
        try:
            shell.wait(_BOUND)
        except subprocess.TimeoutExpired:
            pass
        overdue = shell.poll() is None
        if overdue:
            _end_group(shell.pid)
            shell.wait()
        output.seek(0)
        printed = output.read().decode(errors="replace")
    for instance in (environment["CABINAUDIO_INSTANCE"], work):
        subprocess.run([tree / "bin" / "cabinaudio-run", "--instance", instance, "--clean"],
                       env=environment, check=False, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
    case.assertFalse(overdue, f"{name} does not come to an end:\n{printed}")
    _judge(case, name, commands, printed)


def _end_group(group):
    """Ends what is left of a session that does not come to an end."""
    try:
        os.killpg(group, signal.SIGTERM)
        time.sleep(2)
        os.killpg(group, signal.SIGKILL)
    except ProcessLookupError:
        pass


def _judge(case, name, commands, printed):
    for index, command in enumerate(commands):
        found = re.search(
            rf"{_MARK} {index} begin\n(.*?){_MARK} {index} (\d+)\n", printed, re.DOTALL)
        where = f"{name}: {command.text}"
        case.assertIsNotNone(found, f"{where}\nwas not reached:\n{printed}")
        text, status = found.group(1), int(found.group(2))
        last = index + 1 == len(commands)
        if last or commands[index + 1].text != "echo $?":
            case.assertEqual(status, 0, f"{where}\nprinted:\n{text}")
        expected = "\n".join(command.expected)
        case.assertTrue(
            command.matches(text), f"{where}\nprinted:\n{text}\nthe document says:\n{expected}")
