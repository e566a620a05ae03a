// Builds only if MemoryCheck.h, included first and alone, includes everything it uses.
#include "MemoryCheck.h"
