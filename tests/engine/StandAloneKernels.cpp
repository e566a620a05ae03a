// Builds only if Kernels.h, included first and alone, includes everything it uses.
#include "Kernels.h"
