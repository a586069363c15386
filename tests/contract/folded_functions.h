#pragma once

// Two functions with the same code in two sources, which show whether a linker folds functions.

int VakFoldedFunction(int x);
int VakOtherFoldedFunction(int x);
