// A numeric header that includes the ground: allowed.
#include "base/ok.h"
