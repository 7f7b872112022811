#include "ui/qt_texts.h"

#include "model/model.h"

#include <QCoreApplication>

#include <utility>

namespace ovrel {

QtTexts::QtTexts(const Model& model, QString folder) : model_(model), folder_(std::move(folder)) {
    connect(&model_, &Model::languageChanged, this, &QtTexts::takeLanguage);
    takeLanguage();
}

void QtTexts::takeLanguage() {
    QCoreApplication::removeTranslator(&translator_);
    if (translator_.load(QStringLiteral("qtbase_") + model_.language().rawValue(), folder_)) {
        QCoreApplication::installTranslator(&translator_);
    }
}

} // namespace ovrel
