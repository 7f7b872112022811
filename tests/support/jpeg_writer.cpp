#include "tests/support/jpeg_writer.h"
