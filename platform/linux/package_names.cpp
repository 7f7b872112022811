#include "platform/file_system.h"
