// Builds only if Parallel.h, included first and alone, includes everything it uses.
#include "Parallel.h"
