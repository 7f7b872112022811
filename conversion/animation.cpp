#include "conversion/converter.h"
