"""Says what a coverage report of gcovr's (its JSON) found: the files in which something is not
reached, with the lines, and the shares of all. Ends with 1 when a line is not reached, or too few
of the branches are; docs/coverage.md explains those that are left.

    tests/coverage/summary.py REPORT
"""

import json
import sys

LEAST_BRANCHES = 98.0


def ranges(numbers):
    """[1, 2, 3, 7] as '1-3, 7'."""
    spans = []
    for number in sorted(numbers):
        if spans and number == spans[-1][1] + 1:
            spans[-1][1] = number
        else:
            spans.append([number, number])
    return ", ".join(f"{a}-{b}" if a != b else str(a) for a, b in spans)


class Tally:
    def __init__(self):
        self.reached = self.all = 0

    def add(self, reached):
        self.all += 1
        self.reached += reached

    def percent(self):
        return 100.0 * self.reached / self.all if self.all else 100.0


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        report = json.load(file)
    lines, branches = Tally(), Tally()
    for source in report["files"]:
        missed_lines, missed_branches = set(), {}
        for line in source["lines"]:
            if line["gcovr/noncode"]:
                continue
            number = line["line_number"]
            lines.add(line["count"] > 0)
            if line["count"] == 0:
                missed_lines.add(number)
            for branch in line["branches"]:
                branches.add(branch["count"] > 0)
                if branch["count"] == 0:
                    missed_branches[number] = missed_branches.get(number, 0) + 1
        if missed_lines:
            print(f"{source['file']}: lines {ranges(missed_lines)}")
        if missed_branches:
            listed = ", ".join(
                f"{number} ({count})" if count > 1 else str(number)
                for number, count in sorted(missed_branches.items())
            )
            print(f"{source['file']}: branches of lines {listed}")
    # Rounded down: 100 means all.
    print(f"{lines.reached} of {lines.all} lines, {branches.reached} of {branches.all} branches")
    print(f"lines: {int(lines.percent() * 100) / 100} %")
    print(f"branches: {int(branches.percent() * 100) / 100} %")
    if lines.reached < lines.all or branches.percent() < LEAST_BRANCHES:
        sys.exit(1)


if __name__ == "__main__":
    main()
