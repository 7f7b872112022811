#include "updates/engine/portable_start.h"
#include "updates/engine/updater.h"
#include "updates/framework/spu_updater.h"

namespace ovrel {

std::unique_ptr<SPUUpdater> makeUpdater(SPUUserDriver& driver, SPUUpdaterDelegate& delegate) {
    const PortableStart* const start = PortableStart::ofThisProgram();
    if (start == nullptr) {
        return nullptr;
    }
    return std::make_unique<Updater>(environmentOf(*start), driver, delegate);
}

} // namespace ovrel
