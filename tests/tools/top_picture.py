# SPDX-License-Identifier: Apache-2.0
"""Draws the screen of `cabinaudio top` with a few streams, as SVG.

usage: top_picture.py BUILD-DIRECTORY PICTURE.svg
"""

import html
import os
import pathlib
import subprocess
import sys
import tempfile

from terminal import Server, Terminal, write_tone

COLUMNS, ROWS = 138, 15
CELL_WIDTH, CELL_HEIGHT, MARGIN = 8, 17, 10
COLOURS = {"default": "#d8dee9", "green": "#7fb069", "brown": "#e6b450", "red": "#e5534b"}
BACKGROUND = "#1d2229"
NO_BREAK = "&#160;"  # several blanks would become one
# Blocks of a bar, and how many eighths of their cell they fill.
BLOCKS = {block: eighths for eighths, block in enumerate("▏▎▍▌▋▊▉█", start=1)}


def shape(row, column, width, colour, gap=0):
    """A filled piece of a line."""
    return (f'<rect x="{MARGIN + column * CELL_WIDTH}" y="{MARGIN + row * CELL_HEIGHT + gap}" '
            f'width="{width * CELL_WIDTH:g}" height="{CELL_HEIGHT - 2 * gap}" fill="{colour}"/>')


def label(row, column, text, colour, is_bold):
    weight = ' font-weight="bold"' if is_bold else ""
    return (f'<text x="{MARGIN + column * CELL_WIDTH}" y="{MARGIN + row * CELL_HEIGHT + 13}" '
            f'textLength="{len(text) * CELL_WIDTH}" fill="{colour}"{weight}>'
            f'{html.escape(text).replace(" ", NO_BREAK)}</text>')


def runs(cells):
    """(column, cells) for each run of cells that look alike."""
    def look(cell):
        return cell.fg, cell.bold, cell.reverse, cell.data in BLOCKS
    start = 0
    for column in range(1, len(cells) + 1):
        if column == len(cells) or look(cells[column]) != look(cells[start]):
            yield start, cells[start:column]
            start = column


def row_shapes(row, cells):
    for column, run in runs(cells):
        colour = COLOURS.get(run[0].fg, COLOURS["default"])
        text = "".join(cell.data for cell in run)
        if run[0].reverse:
            yield shape(row, column, len(run), COLOURS["default"])
            colour = BACKGROUND
        if run[0].data in BLOCKS:
            yield shape(row, column, sum(BLOCKS[cell.data] for cell in run) / 8, colour, 3)
        elif text.strip():
            stripped = text.lstrip()
            yield label(row, column + len(text) - len(stripped), stripped.rstrip(), colour,
                        run[0].bold)


def svg(screen):
    width = screen.columns * CELL_WIDTH + 2 * MARGIN
    height = screen.lines * CELL_HEIGHT + 2 * MARGIN
    shapes = [
        # In two parts: the licence of the picture, not of this line.
        '<!-- SPDX-License-' 'Identifier: Apache-2.0 -->',
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
        f'width="{width}" height="{height}" font-family="DejaVu Sans Mono, monospace" '
        'font-size="13">',
        f'<rect width="{width}" height="{height}" rx="6" fill="{BACKGROUND}"/>']
    for row in range(screen.lines):
        shapes += row_shapes(row, [screen.buffer[row][column] for column in range(screen.columns)])
    return "\n".join([*shapes, "</svg>"]) + "\n"


def take_picture(tool, server_program, directory):
    """The screen while music is ducked by a prompt, a call's tone is muted, and a voice recorded."""
    music, prompt = directory / "music.wav", directory / "prompt.wav"
    write_tone(music, 0.5)
    write_tone(prompt, 0.3)
    server = Server(server_program, "--input", "tone:440")
    subprocess.run([tool, "set", "ducking.mode=1", "volume.track.auxiliary.chime=-9dB",
                    "volume.track.auxiliary.ringtone=0", "volume.track.main.radio=-3dB"],
                   check=True, stderr=subprocess.DEVNULL)
    play = [tool, "play", "--name"]
    commands = [[*play, "radio", "--tag", "main", music],
                [*play, "guide", "--tag", "alternative", prompt],
                [*play, "chime", "--tag", "auxiliary", prompt],
                [*play, "ringtone", "--tag", "auxiliary", music],
                [tool, "record", "--name", "assistant", directory / "voice.wav"]]
    streams = [subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
               for command in commands]
    terminal = Terminal([tool, "top", "--interval", "50"], COLUMNS, ROWS)
    try:
        terminal.wait_for_text("assistant")
        terminal.press("j" * 3)
        terminal.wait_for(lambda lines: any("radio: sink" in line for line in lines)
                          and any("guide -20 dB" in line for line in lines)
                          and any("-29.0" in line for line in lines)
                          and any("silent silent" in line for line in lines))
        return svg(terminal.screen)
    finally:
        terminal.close()
        for stream in streams:
            stream.kill()
            stream.wait()
        server.stop()


def main():
    build, picture = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2]
    os.environ["CABINAUDIO_INSTANCE"] = f"top-picture-{os.getpid()}"
    os.environ.pop("NO_COLOR", None)
    with tempfile.TemporaryDirectory() as directory:
        os.environ["CABINAUDIO_CONFIG_DIR"] = directory
        drawn = take_picture(build / "tools/cabinaudio", build / "devkit/server/cabinaudio-server",
                             pathlib.Path(directory))
    pathlib.Path(picture).write_text(drawn, encoding="utf-8")


if __name__ == "__main__":
    main()
