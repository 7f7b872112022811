/// \file qt_texts.h
/// The texts that Qt brings along.
#pragma once

#include <QLibraryInfo>
#include <QObject>
#include <QString>
#include <QTranslator>

namespace ovrel {

class Model;

/// Has Qt say what it says itself, such as in its file dialog, in the language of the interface while this lives. What
/// Qt has no translation for stays English. Main thread.
class QtTexts final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QtTexts)

public:
    /// \param model outlives this
    /// \param folder of Qt's translations
    explicit QtTexts(const Model& model, QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    ~QtTexts() override = default;

private:
    void takeLanguage();

    const Model& model_;
    QString folder_;
    QTranslator translator_; ///< takes itself away in the end
};

} // namespace ovrel
