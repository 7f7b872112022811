#include "platform/temporary_file.h"
