#!/usr/bin/python3
"""The man pages that help2man made from vxcam's help: one for the tool that lists every command
of `vxcam --help`, and one for each command with its own usage.

    check_man_pages.py VXCAM MAN_FOLDER
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys


def main(program, folder):
    folder = pathlib.Path(folder)
    env = dict(os.environ, VX_LANG="en")
    help_text = subprocess.run([program, "--help"], env=env, capture_output=True, text=True,
                               check=True).stdout
    version = subprocess.run([program, "--version"], env=env, capture_output=True, text=True,
                             check=True).stdout.split()[-1]
    block = re.search(r"\nCommands:\n((?: +\S.*\n)+)", help_text).group(1)
    commands = re.findall(r"^ +([a-z][a-z0-9-]*) ", block, re.M)
    failures = []

    def check(ok, what):
        if not ok:
            failures.append(what)

    check(len(commands) >= 5, "vxcam --help lists its commands (found %s)" % commands)
    pages = {"vxcam": folder / "vxcam.1"}
    pages.update({"vxcam-" + c: folder / ("vxcam-" + c + ".1") for c in commands})
    texts = {}
    for name, path in pages.items():
        check(path.is_file(), "%s exists" % path)
        texts[name] = path.read_text(encoding="utf-8") if path.is_file() else ""
        text = texts[name]
        check(('.TH %s "1"' % name.upper()) in text, "%s: the title is %s(1)" % (path.name, name.upper()))
        check(("%s %s" % (name, version)) in text, "%s: the version is %s" % (path.name, version))
        check("??" not in text, "%s: no sign lost to the locale (??)" % path.name)
        check(".SH SYNOPSIS" in text and ".SH OPTIONS" in text and '.SH "SEE ALSO"' in text,
              "%s: synopsis, options and see also" % path.name)

    main_page = texts["vxcam"]
    commands_part = main_page.split('.SS "Commands:"')[-1].split(".SH OPTIONS")[0]
    listed = re.findall(r"^\.TP\n(\S+)\n", commands_part, re.M)
    check(listed == commands, "vxcam.1 lists the commands of vxcam --help in order: %s, not %s"
          % (commands, listed))
    for command in commands:
        check((".BR vxcam-%s (1)," % command) in main_page, "vxcam.1 refers to vxcam-%s(1)" % command)
        page = texts["vxcam-" + command]
        check(re.search(r"^\.B vxcam\n\\fI\\,%s " % re.escape(command), page, re.M) is not None,
              "vxcam-%s.1: the synopsis is vxcam %s ..." % (command, command))
        check(".BR vxcam (1)," in page, "vxcam-%s.1 refers to vxcam(1)" % command)

    # Rendered as a reader sees it, where groff is installed.
    groff = shutil.which("groff")
    if groff:
        shown = subprocess.run([groff, "-man", "-Tutf8", "-ww", "-z", str(pages["vxcam"])],
                               capture_output=True, text=True)
        check(shown.returncode == 0 and not shown.stderr.strip(),
              "groff renders vxcam.1 without a warning: %s" % shown.stderr.strip())

    for failure in failures:
        print("FAILED: " + failure)
    checked = len(pages)
    print("%d man pages checked for %d commands; %d failed" % (checked, len(commands), len(failures)))
    return 1 if failures else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        print(__doc__.strip(), file=sys.stderr)
        sys.exit(2)
    sys.exit(main(sys.argv[1], sys.argv[2]))
