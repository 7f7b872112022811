/// \file machine.h
/// What a release has to fit.
#pragma once

#include <QString>

namespace ovrel {

struct Machine {
    QString architecture;  ///< as feeds and archives name it: "x86_64", "aarch64", "riscv64" …
    QString systemVersion; ///< of the C library, for example "2.36"

    /// The architecture that this program is built for, and the C library that it runs with.
    static Machine thisOne();
};

} // namespace ovrel
