#pragma once

// Caps what this process may allocate at 2 GiB, far above what reading any
// reproducer needs, so that a parser regressing into unbounded memory fails
// its test instead of exhausting the machine.
void applyMemoryCeiling();
