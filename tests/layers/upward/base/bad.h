// A ground header that reaches up: the layer check must refuse it.
#include "numeric/ok.h"
