// Builds only if MatrixModule.h, included first and alone, includes everything it uses.
#include "MatrixModule.h"
