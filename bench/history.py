"""The ratios of the benches over time: the committed baseline, and what has fallen since it was measured.

A ratio is the time of a contender divided by the time of sinew, so that a ratio that falls means that sinew has become
slower. Ratios compare between runs and, less well, between machines; times do not. run.py calls this module.
"""

import json
import math

# A row has fallen if its ratio is below this share of the ratio in the baseline.
LEAST_SHARE = 0.85
OURS = "sinew"


class Unreadable(Exception):
    """A file that does not have the promised form."""


def is_ratio(value):
    return isinstance(value, (int, float)) and not isinstance(value, bool) and math.isfinite(value) and value > 0


def read_json(path):
    try:
        return json.loads(path.read_text(encoding="utf-8"))
    except OSError as error:
        raise Unreadable(f"{path} cannot be read: {error.strerror}.") from error
    except (ValueError, RecursionError) as error:
        raise Unreadable(f"{path} is not JSON: {error}.") from error


def read_rows(path):
    """The file that a bench writes with --ratios: its compiler, and case -> contender -> (ratio, low, high, median)."""
    content = read_json(path)
    rows = {}
    try:
        for row in content["rows"]:
            numbers = tuple(row[key] for key in ("ratio", "low", "high", "median"))
            if not all(map(is_ratio, numbers)):
                raise ValueError(f"the row {row} has a ratio that is not a positive number")
            rows.setdefault(row["case"], {})[row["contender"]] = numbers
        return content["compiler"], rows
    except (KeyError, TypeError, ValueError) as error:
        raise Unreadable(f"{path} is not a table of ratios: {error}.") from error


def read_baseline(path):
    """program -> {machine, compiler, date, rows: case -> contender -> [ratio, low, high]}."""
    content = read_json(path)
    if not isinstance(content, dict) or not isinstance(content.get("programs"), dict):
        raise Unreadable(f"{path} has no object 'programs'.")
    for name, program in content["programs"].items():
        if not isinstance(program, dict) or not isinstance(program.get("rows"), dict):
            raise Unreadable(f"{path}: program '{name}' has no object 'rows'.")
        for key in ("machine", "compiler", "date"):
            if not isinstance(program.get(key), str):
                raise Unreadable(f"{path}: program '{name}' has no text '{key}'.")
        for case, contenders in program["rows"].items():
            if not isinstance(contenders, dict):
                raise Unreadable(f"{path}: case '{case}' of program '{name}' is not an object.")
            for contender, ratios in contenders.items():
                if not isinstance(ratios, list) or len(ratios) != 3 or not all(map(is_ratio, ratios)):
                    raise Unreadable(f"{path}: '{case}/{contender}' of program '{name}' is not three positive numbers.")
    return content["programs"]


def write_baseline(path, programs):
    """One line for each case, so that a version-control system shows which have changed. A run that is stopped leaves the
    file as it was before or as it is after."""
    parts = []
    for name in sorted(programs):
        program = programs[name]
        head = ", ".join(f"{json.dumps(key)}: {json.dumps(program[key])}" for key in ("machine", "compiler", "date"))
        rows = ",\n".join(f"  {json.dumps(case)}: {json.dumps(contenders)}" for case, contenders in program["rows"].items())
        parts.append(f"{json.dumps(name)}: {{{head}, \"rows\": {{\n{rows}\n}}}}")
    unfinished = path.with_name(path.name + ".new")
    unfinished.write_text('{"programs": {\n' + ",\n".join(parts) + "\n}}\n", encoding="utf-8")
    unfinished.replace(path)


def ratios_of(rows):
    """The rows of a run as the baseline keeps them: ratio, low and high, with four digits."""
    return {case: {contender: [float(f"{number:.4g}") for number in numbers[:3]] for contender, numbers in contenders.items()}
            for case, contenders in rows.items()}


def keys(rows):
    return [(case, contender) for case, contenders in rows.items() for contender in contenders if contender != OURS]


def fallen(baseline_rows, rows):
    """(case, contender) -> (ratio in the baseline, ratio now) of all rows of both that have fallen."""
    result = {}
    for case, contender in keys(rows):
        before = baseline_rows.get(case, {}).get(contender)
        if before and rows[case][contender][0] < LEAST_SHARE * before[0]:
            result[case, contender] = (before[0], rows[case][contender][0])
    return result


def missing(baseline_rows, rows):
    """Rows of the baseline that a run does not have, for example because a peer is not installed."""
    measured = set(keys(rows))
    return [key for key in keys(baseline_rows) if key not in measured]


def added(baseline_rows, rows):
    return missing(rows, baseline_rows)
