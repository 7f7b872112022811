#include "platform/linux/color_profiles.h"
