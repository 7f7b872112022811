// What the program uses outside of tests.

#include "desktop/native_file_chooser.h"
#include "ui/ovrel_app.h"

namespace ovrel {

OvrelApp::Services OvrelApp::programServices() {
    return {.content =
                [](QWidget& window) {
                    return ContentView::Services{.model = Model::programServices(nativeFileChooser(&window)),
                                                 .fetch = BannerModel::defaultFetch(),
                                                 .openLink = desktopLinkOpener()};
                },
            .appearance = std::make_unique<Appearance>(),
            .bus = QDBusConnection::sessionBus()};
}

} // namespace ovrel
