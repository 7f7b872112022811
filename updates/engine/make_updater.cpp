#include "updates/engine/portable_start.h"
#include "updates/engine/updater.h"
#include "updates/framework/spu_updater.h"

namespace ovrel {

std::unique_ptr<SPUUpdater> makeUpdater(SPUUserDriver& driver, SPUUpdaterDelegate& delegate) {
    PortableStart* const start = PortableStart::ofThisProgram();
    if (start == nullptr) {
        return nullptr;
    }
    UpdaterEnvironment environment = environmentOf(*start);
    start->remember(environment.state);
    return std::make_unique<Updater>(std::move(environment), driver, delegate);
}

} // namespace ovrel
