"""The page of explained survivors, docs/mutants.md: a reason, then a fenced block with one
survivor a line. A survivor's line is its key, so it stays right when lines move."""

PAGE = "docs/mutants.md"


def explained(root):
    """Each survivor's key with the heading above its block."""
    keys, heading, fenced = {}, "", False
    try:
        lines = open(f"{root}/{PAGE}", encoding="utf-8").read().splitlines()
    except FileNotFoundError:
        return {}
    for line in lines:
        if line.startswith("#"):
            heading = line.lstrip("# ")
        elif line.startswith("```"):
            fenced = not fenced
        elif fenced and line.count(" :: ") >= 3:
            keys[line.strip()] = heading
    return keys
