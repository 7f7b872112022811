#include "platform/memory.h"
