// Builds only if RuntimeError.h, included first and alone, includes everything it uses.
#include "RuntimeError.h"
