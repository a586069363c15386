// Two functions with the same code in two sources, which show whether a linker folds functions.
#pragma once

int VakFoldedFunction(int x);
int VakOtherFoldedFunction(int x);
