/// \file file_chooser.h
/// Asking the user for files and folders.
#pragma once

#include <QString>
#include <QStringList>

#include <filesystem>
#include <functional>
#include <vector>

namespace ovrel {

/// What to ask for. Texts are in the language of the interface.
struct FileRequest {
    enum class Kind { files, folder };

    Kind kind = Kind::files;
    QString title;                 ///< of the dialog; where it is empty, the confirm text stands for it
    QString confirmText;           ///< on the button that accepts
    bool multiple = false;         ///< whether several files may be chosen
    bool canCreateFolders = false; ///< whether a new folder may be made on the way
    QString filterName;            ///< what the files with these extensions are called
    QStringList extensions;        ///< of the files that can be chosen, in lower case, matched in any; all when empty
};

/// Main thread.
class FileChooser {
public:
    /// Takes what was chosen; nothing when the user cancelled.
    using Reply = std::function<void(const std::vector<std::filesystem::path>& chosen)>;

    FileChooser() = default;
    virtual ~FileChooser() = default;
    FileChooser(const FileChooser&) = delete;
    FileChooser& operator=(const FileChooser&) = delete;

    /// Returns while the user chooses.
    /// \param reply called at most once, later, on the main thread
    virtual void choose(const FileRequest& request, Reply reply) = 0;
};

} // namespace ovrel
