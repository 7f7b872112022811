#include "platform/linux/upright_rows.h"
