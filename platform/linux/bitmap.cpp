#include "platform/bitmap.h"
