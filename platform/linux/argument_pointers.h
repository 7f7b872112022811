/// \file argument_pointers.h
/// Words as the system's calls take them that start a program.
#pragma once

#include <string>
#include <vector>

namespace ovrel {

/// Pointers to the words, and a null pointer at the end (execve(2)). They point into `words`.
inline std::vector<char*> argumentPointers(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace ovrel
