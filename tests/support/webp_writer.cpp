#include "tests/support/webp_writer.h"
