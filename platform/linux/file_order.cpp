#include "platform/file_order.h"
