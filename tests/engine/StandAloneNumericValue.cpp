// Builds only if NumericValue.h, included first and alone, includes everything it uses.
#include "NumericValue.h"
