"""What the scripts that hold the tree to a rule have in common: finding the tree, and reporting."""

from pathlib import Path


def root_of(arguments):
    """The tree that the first argument names; without one, the tree that the scripts are in."""
    return Path(arguments[0] if arguments else Path(__file__).parent.parent).resolve()


def report(find_offences, arguments):
    """Prints what is wrong in the tree, one offence a line. Returns 1 if anything is, else 0."""
    offences = find_offences(root_of(arguments))
    for offence in offences:
        print(offence)
    return 1 if offences else 0
