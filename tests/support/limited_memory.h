/// \file limited_memory.h
/// Work for which there is too little memory.
#pragma once

#include "tests/support/damaged_files.h"

#include <string>

namespace ovrel::test {

/// Decodes the first image of a sound file with no memory left, and again with ever more until it is shown. Fails the
/// test when it is ever taken for damaged instead of answered with std::bad_alloc. Begin it only while no other thread
/// runs and memory can be limited (see sanitizers.h).
void expectToTellLackOfMemory(const std::string& file, const OpenSource& open);

} // namespace ovrel::test
