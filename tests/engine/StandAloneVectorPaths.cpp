// Builds only if VectorPaths.h, included first and alone, includes everything it uses.
#include "VectorPaths.h"
