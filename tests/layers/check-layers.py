#!/usr/bin/env python3
"""Checks that the program's folders include one another only downwards, and that no two
files include each other in a circle.

    check-layers.py SOURCE_DIR

Each folder is one library; a file may include headers of its own folder and of the
folders listed below it. Includes in angle brackets (the standard library, Qt, cairo) are
not the program's own and are not looked at.
"""
import pathlib
import re
import sys

# Each folder and the folders it may include from.
LAYERS = {
    "engine": set(),
    "tabletext": {"engine"},
    "export": {"tabletext", "engine"},
    "grid": {"tabletext", "engine"},
    "platform": set(),
    "workbench": {"grid", "export", "platform", "tabletext", "engine"},
    "app": {"workbench", "grid", "export", "platform", "tabletext", "engine"},
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def main(root: pathlib.Path) -> int:
    files = {}  # file name -> (folder, path)
    for folder in LAYERS:
        for path in sorted((root / folder).glob("*")):
            if path.suffix in (".h", ".cpp"):
                files[path.name] = (folder, path)

    problems = []
    edges = {}  # file name -> the program's files it includes
    for name, (folder, path) in files.items():
        edges[name] = []
        for included in INCLUDE.findall(path.read_text(encoding="utf-8")):
            target = pathlib.PurePath(included).name
            if target not in files:
                continue  # generated (moc) or a header outside the program's folders
            target_folder = files[target][0]
            if target_folder != folder and target_folder not in LAYERS[folder]:
                problems.append(f"{folder}/{name} includes {target_folder}/{target}")
            edges[name].append(target)

    # Circles: a depth-first walk that meets a file still on its path.
    state = {}
    def walk(name, trail):
        state[name] = "open"
        for target in edges[name]:
            if state.get(target) == "open":
                circle = trail[trail.index(target):] + [target]
                problems.append("circle: " + " -> ".join(circle))
            elif target not in state:
                walk(target, trail + [target])
        state[name] = "done"
    sys.setrecursionlimit(10000)
    for name in edges:
        if name not in state:
            walk(name, [name])

    for problem in problems:
        print(problem)
    print(f"check-layers: {len(files)} files, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
