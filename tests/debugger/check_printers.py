"""Runs in GDB over tests/debugger/program.cpp and compares what GDB prints of its variables.

usage: gdb -nx -batch -iex 'set auto-load safe-path /' -x check_printers.py PROGRAM

With VAK_PRINTERS_FILE in the environment, GDB loads nothing with the program, and that file is sourced. With
VAK_WITH_SOLVER, the program was built with the solver module.
Prints one line per offence and ends with 1 if there is any.
"""

import os
import re

import gdb

# For each stop of the program, in their order, what is printed and a regular expression for all of it.
STOPS = [
    {
        "profits": r"VakNumArray of 3 = {3, 4\.5, -1}",
        "counts": r"VakIntArray of 20 = {0, 1, 4, .*, 324, 361}",
        "none": r"empty VakBoolArray",
        "rows": r"VakNumArray2 of 1 = {VakNumArray of 3 = {3, 4\.5, -1}}",
        "torn": r"VakNumArray of 2 = {.*[Cc]annot access memory at address 0x10.*}",
        "*profits._impl": r"VakArrayI: 3 elements of 8 bytes, capacity 4",
    },
    {
        "size": r'property "size" = 3',
        "gap": r'property "gap" = 0\.5',
        "colour": r'property "colour" = "dark \\"red\\""',
        "any": r'property "size" = 3',
        "empty": r"empty VakNamedProperty",
        "*any._impl": r'property "size" = 3',
        "set": r'3 properties = {colour = "dark \\"red\\"", gap = 0\.5, size = 3}',
        "*set._impl": r'3 properties = {colour = "dark \\"red\\"", gap = 0\.5, size = 3}',
    },
    {
        "table": r"VakHashTable<long, (char const ?\*|const char ?\*)> with 2 items in 4 buckets = "
        r'{\[1\] = 0x[0-9a-f]+ "one", \[6\] = 0x[0-9a-f]+ "six"}',
    },
    {
        "x": r'variable "x" in \[0, 12\.5\]',
        "free": r"variable #1 in \[-inf, inf\]",
        "n": r'integer variable "n" in \[2, 7\]',
        "open": r'Boolean variable "open" in \[0, 1\]',
        "usual": r'variable "usual" in \[0, inf\]',
        "shared": r"integer variable #\d+ in \[2, 7\]",
        "noVariable": r"empty VakNumVar",
        "*x._impl": r'variable "x" in \[0, 12\.5\]',
        "capacity": r'constraint "capacity": x \+ 2 n <= 14',
        "balance": r"constraint #\d+: 1 <= x - n - #1 <= 2",
        "profit": r"objective #\d+: maximize 3 x \+ 4 open - 1",
        "cost": r'expression "cost": 2 x \+ 1',
        "expr": r"-x \+ 0\.5 n - 3",
        "term": r"2 x",
        "relation": r"x \+ n == 4",
        "anything": r'constraint "capacity": x \+ 2 n <= 14',
        "several._M_impl._M_start[1]": r'integer variable "n" in \[2, 7\]',
        "model": r'model "plan": 4 variables, 2 constraints = {objective = objective #\d+: '
        r"maximize 3 x \+ 4 open - 1, "
        r'constraint 0 = constraint "capacity": x \+ 2 n <= 14, '
        r"constraint 1 = constraint #\d+: 1 <= x - n - #1 <= 2, "
        r'variable 0 = variable "x" in \[0, 12\.5\], '
        r'variable 1 = integer variable "n" in \[2, 7\], '
        r"variable 2 = variable #1 in \[-inf, inf\], "
        r'variable 3 = Boolean variable "open" in \[0, 1\]}',
        "*((VakConstraintI*)capacity._impl)->_terms._first": r"x",
        "sum": r"x \+ 2 n \+ \.\.\.",
    },
    {
        "alive": r'reference to variable "kept" in \[0, 9\]',
        "gone": r"reference to variable #\d+, which is gone",
        "nothing": r"empty VakRef<VakNumVar>",
        "orphan": r"reference to model #\d+, which went with its environment",
        "late": r"reference to variable #\d{5} in \[0, 1\]",
    },
    {
        "*without": r"\(anonymous namespace\)::Idle without a model",
        "*solved": r'\(anonymous namespace\)::Idle of model "idle": infeasible or unbounded, 2 columns, 1 row',
        "*dropped": r'\(anonymous namespace\)::Idle of model "idle": not solved, not loaded',
        "idle": r'\(anonymous namespace\)::Idle of model "idle": infeasible or unbounded, 2 columns, 1 row',
    },
    {
        "env": r'environment "workshop" with {bytesInUse} bytes in use = {state = alive, '
        r'version = 0x[0-9a-f]+ "Vak 2\.4 \(2007-03-26\)", pooled = (yes|no), '
        r"bytes obtained = {bytesObtained}, "
        r"identifiers = \d+ identifiers in use of 256, algorithms = \(anonymous namespace\)::Onlooker, "
        r"destroyables = 0, plug-ins = none, properties = 1 property = {level = 2}}",
        "*env._impl->_idManager": r'\d+ identifiers in use of 256 = {#0 = variable "x", .*',
        "env._impl->_symbolTable->_table": r"VakEnvHashTable<(char const|const char) ?\*, VakSymbolI ?\*> with "
        r'\d+ items? in 31 buckets = {.*\[0x[0-9a-f]+ "blue"\] = 0x[0-9a-f]+.*}',
        "*env._impl->_numDomains": r"VakNumSharedDomainHash with \d+ items? in 31 buckets = {.*}",
        "manager": r'environment "workshop" with .*',
        "noEnv": r"empty VakEnv",
        "failure": r'VakWrongUsage: "Used wrongly\."',
        "algorithm": r"\(anonymous namespace\)::Onlooker, attached",
        "*algorithm._impl": r"\(anonymous namespace\)::Onlooker, attached",
        "broken": r"VakNumVar on 0x10, which is no living object",
        "*symbol": r'symbol "blue" with code \d+',
    },
]
# At the stop of the same number, if the program was built with the solver.
SOLVER_STOPS = {
    5: {
        "solver": r'VakSolverI of model "idle": optimal, 2 columns, 1 row = {x = 5, #\d+ = 1}',
        "fresh": r'VakSolverI of model "idle": not solved, 2 columns, 1 row',
        "noSolver": r"empty VakSolver",
        "*solver._impl": r'VakSolverI of model "idle": optimal, 2 columns, 1 row = {x = 5, #\d+ = 1}',
    },
}


def check(expression, expected):
    """Says what is wrong with what GDB prints of an expression, or returns None."""
    for name in ("bytesInUse", "bytesObtained"):
        if "{" + name + "}" in expected:
            value = gdb.selected_frame().read_var(name)
            expected = expected.replace("{" + name + "}", str(int(value)))
    try:
        printed = gdb.execute(f"output {expression}", to_string=True)
    except gdb.error as failure:
        printed = f"an error: {failure}"
    if re.fullmatch(expected, printed):
        return None
    return f"{expression} is printed as\n  {printed}\nand not as\n  {expected}"


def find_offences():
    gdb.execute("set pagination off")
    gdb.execute("set width 0")
    gdb.execute("break stopHere")
    printers = os.environ.get("VAK_PRINTERS_FILE")
    if printers:
        gdb.execute(f"source {printers}")
    offences = []
    gdb.execute("run", to_string=True)
    for number, stop in enumerate(STOPS):
        gdb.execute("up", to_string=True)
        if os.environ.get("VAK_WITH_SOLVER"):
            stop = {**stop, **SOLVER_STOPS.get(number, {})}
        for expression, expected in stop.items():
            gdb.execute(f"set print elements {2 if expression == 'sum' else 200}")
            offences.append(check(expression, expected))
        gdb.execute("continue", to_string=True)
    return [offence for offence in offences if offence]


try:
    found = find_offences()
except gdb.error as failure:
    found = [f"GDB gave up: {failure}"]
for each in found:
    print(each)
gdb.execute("kill" if gdb.selected_inferior().pid else "info program", to_string=True)
gdb.execute(f"quit {1 if found else 0}")
