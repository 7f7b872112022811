#include "platform/linux/exif_orientation.h"
