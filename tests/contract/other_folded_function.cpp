#include "tests/contract/folded_functions.h"

int VakOtherFoldedFunction(int x) { return 41 * x + 17; }
