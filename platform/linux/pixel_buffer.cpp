#include "platform/pixel_buffer.h"
