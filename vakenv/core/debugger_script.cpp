#include "vakenv/core/debugger.h"

extern const char VakDebuggerScript = 0;

// The section from which GDB loads scripts: an entry is the number 4 (a text in Python), a line
// with a name that is unique, and the text, which ends with a null. It is not loaded with the
// program, and goes when the program is stripped.
asm(R"(
  .pushsection .debug_gdb_scripts, "MS", %progbits, 1
  .byte 4
  .ascii "vak_printers.py\n"
  .incbin ")" VAK_GDB_PRINTERS R"("
  .byte 0
  .popsection
)");
