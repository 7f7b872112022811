#include "platform/linux/input_file.h"
