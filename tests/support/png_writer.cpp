#include "tests/support/png_writer.h"
