#include "platform/linux/decoders.h"
