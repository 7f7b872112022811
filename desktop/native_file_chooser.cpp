#include "desktop/native_file_chooser.h"

#include "model/path_text.h"

#include <QFileDialog>
#include <QPointer>

#include <utility>

namespace ovrel {

namespace {

/// Matches an extension however it is written, also in dialogs that look at the case of letters.
QString patternOf(const QString& extension) {
    QString pattern = QStringLiteral("*.");
    for (const QChar letter : extension) {
        pattern +=
            letter.isLetter() ? QStringLiteral("[%1%2]").arg(letter.toLower(), letter.toUpper()) : QString(letter);
    }
    return pattern;
}

QString nameFilter(const FileRequest& request) {
    QStringList patterns;
    for (const QString& extension : request.extensions) {
        patterns << patternOf(extension);
    }
    return request.filterName + QStringLiteral(" (") + patterns.join(QLatin1Char(' ')) + QLatin1Char(')');
}

QFileDialog::FileMode modeOf(const FileRequest& request) {
    if (request.kind == FileRequest::Kind::folder) {
        return QFileDialog::Directory;
    }
    return request.multiple ? QFileDialog::ExistingFiles : QFileDialog::ExistingFile;
}

void prepare(QFileDialog& dialog, const FileRequest& request) {
    dialog.setAttribute(Qt::WA_DeleteOnClose);
    dialog.setWindowTitle(request.title.isEmpty() ? request.confirmText : request.title);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(modeOf(request));
    dialog.setOption(QFileDialog::ShowDirsOnly, request.kind == FileRequest::Kind::folder);
    dialog.setOption(QFileDialog::ReadOnly, !request.canCreateFolders);
    dialog.setOption(QFileDialog::HideNameFilterDetails);
    // Some dialogs reach other machines, whose paths would name something else on this one.
    dialog.setSupportedSchemes({QStringLiteral("file")});
    dialog.setLabelText(QFileDialog::Accept, request.confirmText);
    if (!request.extensions.isEmpty()) {
        dialog.setNameFilter(nameFilter(request));
    }
}

std::vector<std::filesystem::path> chosenIn(const QFileDialog& dialog, int result) {
    std::vector<std::filesystem::path> chosen;
    if (result == QDialog::Accepted) {
        for (const QUrl& url : dialog.selectedUrls()) {
            if (url.isLocalFile()) { // not every dialog keeps to the schemes
                chosen.push_back(pathOf(url));
            }
        }
    }
    return chosen;
}

class NativeFileChooser final : public FileChooser {
public:
    explicit NativeFileChooser(QWidget* window) : window_(window) {}
    ~NativeFileChooser() override { delete open_; }

    void choose(const FileRequest& request, Reply reply) override {
        if (open_) {
            open_->raise();
            open_->activateWindow();
            return;
        }
        open_ = new QFileDialog(window_);
        prepare(*open_, request);
        QObject::connect(open_, &QFileDialog::finished, open_, [this, reply = std::move(reply)](int result) {
            const std::vector<std::filesystem::path> chosen = chosenIn(*std::exchange(open_, nullptr), result);
            reply(chosen);
        });
        open_->open();
    }

private:
    QWidget* window_;
    QPointer<QFileDialog> open_;
};

} // namespace

std::unique_ptr<FileChooser> nativeFileChooser(QWidget* window) {
    return std::make_unique<NativeFileChooser>(window);
}

} // namespace ovrel
