#!/usr/bin/env python3
"""The manual pages and the completions have every command and every option that --help shows. man, bash, zsh and fish
accept them; programs that are not installed are left out."""

import os
import re
import shutil
import subprocess

from tool_case import expect, run_tests, same, zforms


def commands():
    """{command: the names of its options}, from its help; the key "" has the options of the program itself."""
    listing = zforms("--help")[1].partition("Subcommands:")[2].partition("Examples:")[0]
    found = {"": options_of(zforms("--help")[1])}
    for name in re.findall(r"^  ([a-z]+)\s", listing, re.M):
        found[name] = options_of(zforms(name, "--help")[1])
    return found


def options_of(text):
    heads = re.findall(r"^  (-\S+)", text.partition("Options:")[2].partition("Examples:")[0], re.M)
    return {re.sub(r"[!{=].*", "", name) for head in heads for name in head.split(",")}


def run(*command, **more):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60, **more)
    return done.returncode, done.stdout


def complete(folder, *words):
    """The words that bash offers as completions of the last word."""
    script = 'source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _zforms; echo "${COMPREPLY[@]}"'
    return set(run("bash", "-c", script, folder / "bash/zforms", "zforms", *words)[1].split())


def test_pages(folder):
    same("they are written", zforms("pages", folder), (0, "", ""))
    all_options = commands()
    expect(len(all_options) > 15 and all(all_options.values()), "commands with options", str(all_options))
    zsh = (folder / "zsh/_zforms").read_text()
    fish = (folder / "fish/zforms.fish").read_text().splitlines()
    same("one page for each", {path.name for path in (folder / "man1").iterdir()},
         {f"zforms-{name}.1".replace("-.", ".") for name in all_options})
    for name, options in all_options.items():
        page = folder / "man1" / f"zforms-{name}.1".replace("-.", ".")
        man = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", page], stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, text=True, env={**os.environ, "MANWIDTH": "200"})
        same(f"man {name}", (man.returncode, man.stderr), (0, ""))
        plain = re.sub(r".\x08", "", man.stdout)
        zsh_part = zsh.partition(f"\n    {name})\n" if name else "_arguments -C")[2].partition(";;" if name else "state ==")[0]
        fish_part = [line for line in fish if (f"seen_subcommand_from {name}'" in line if name else " -n " not in line)]
        for option in options:
            kind = f" -l {option[2:]} " if option.startswith("--") else f" -s {option[1:]} "
            expect(re.search(rf"^ +.*{option}\b", plain, re.M), f"the manual page of {name}", option)
            expect(re.search(rf"[ ,{{]{option}(=?\}}?'\[|=?,)", zsh_part), f"zsh {name}", option)
            expect(any(kind in line for line in fish_part), f"fish {name}", option)
        same(f"bash {name}", {word for word in complete(folder, *([name] if name else []), "-")}, options)
    same("bash, commands", complete(folder, "") - all_options[""], set(all_options) - {""})
    same("bash, a value", complete(folder, "fill", "--xfa", "k"), {"keep"})
    same("bash, a file", complete(folder, "fill", ""), set())
    for shell, file in {"bash": "bash/zforms", "zsh": "zsh/_zforms", "fish": "fish/zforms.fish"}.items():
        if shutil.which(shell):
            same(shell, run(shell, "-n", folder / file), (0, ""))


if __name__ == "__main__":
    run_tests(globals())
