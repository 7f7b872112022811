#include "bench/race.h"

#include <stdexcept>

namespace ovrel::bench {

void race(std::vector<Contestant>& contestants) {
    for (int round = 0; round < rounds; ++round) {
        for (Contestant& contestant : contestants) {
            const Measurement measurement = contestant.run();
            if (!measurement.succeeded) {
                throw std::runtime_error(contestant.name + " failed");
            }
            if (!contestant.best || measurement.seconds < contestant.best->seconds) {
                contestant.best = measurement;
            }
        }
    }
}

} // namespace ovrel::bench
