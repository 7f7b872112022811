#include "platform/image_destination.h"
