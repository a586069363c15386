#include "tests/contract/folded_functions.h"

int VakFoldedFunction(int x) { return 41 * x + 17; }
