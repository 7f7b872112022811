// How the list of images comes to be, and how it is edited.

#include "conversion/converter.h"
#include "conversion/standard_path.h"
#include "model/model.h"
#include "model/model_step.h"

#include <QMetaObject>

#include <qcoro/qcorofuture.h>

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace ovrel {

namespace {

namespace fs = std::filesystem;

QString keyOfList(bool isEmpty) {
    return isEmpty ? QStringLiteral("Добавьте изображения или папку") : QStringLiteral("queue");
}

QStringList acceptedExtensions() {
    QStringList extensions;
    for (const std::string_view extension : Converter::extensions) {
        extensions.append(QString::fromUtf8(extension.data(), static_cast<qsizetype>(extension.size())));
    }
    return extensions;
}

} // namespace

void Model::chooseFiles() {
    const FileRequest request{.kind = FileRequest::Kind::files,
                              .title = t(QStringLiteral("Добавить файлы…")),
                              .confirmText = t(QStringLiteral("Добавить")),
                              .multiple = true,
                              .canCreateFolders = false,
                              .filterName = t(QStringLiteral("Изображения")),
                              .extensions = acceptedExtensions()};
    services_.chooser->choose(request, [self = QPointer(this)](const Paths& chosen) {
        if (self && !chosen.empty()) {
            self->add(chosen);
        }
    });
}

void Model::chooseFolder() {
    const FileRequest request{.kind = FileRequest::Kind::folder,
                              .title = {},
                              .confirmText = t(QStringLiteral("Добавить папку")),
                              .multiple = false,
                              .canCreateFolders = false,
                              .filterName = {},
                              .extensions = {}};
    services_.chooser->choose(request, [self = QPointer(this)](const Paths& chosen) {
        if (self && !chosen.empty()) {
            self->add(chosen);
        }
    });
}

void Model::chooseOutput() {
    const FileRequest request{.kind = FileRequest::Kind::folder,
                              .title = {},
                              .confirmText = t(QStringLiteral("Сохранять сюда")),
                              .multiple = false,
                              .canCreateFolders = true,
                              .filterName = {},
                              .extensions = {}};
    services_.chooser->choose(request, [self = QPointer(this)](const Paths& chosen) {
        if (self && !chosen.empty()) {
            self->setOutput(chosen.front());
        }
    });
}

void Model::setSelection(Ids ids) {
    if (ids.empty() && selection_.empty()) {
        return;
    }
    Step step(*this);
    selection_ = std::move(ids);
    step.note(&Model::selectionChanged);
    step.tell();
}

void Model::select(const std::vector<std::string>& ids, bool selected) {
    const std::size_t before = selection_.size();
    for (const std::string& id : ids) {
        if (selected) {
            selection_.insert(id);
        } else {
            selection_.erase(id);
        }
    }
    Step step(*this);
    if (selection_.size() != before) {
        step.note(&Model::selectionChanged);
    }
    step.tell();
}

void Model::add(const Paths& paths) {
    if (!canEditQueue()) {
        return;
    }
    Step step(*this);
    std::unordered_set<std::string> known;
    for (const fs::path& root : roots_) {
        known.insert(root.native());
    }
    for (const fs::path& path : paths) {
        excluded_.erase(standardised(path));
        if (known.insert(path.native()).second) {
            roots_.push_back(path);
            step.note(&Model::rootsChanged);
        }
    }
    if (step.tell()) {
        rescan();
    }
}

void Model::rescan() {
    if (!canEditQueue()) {
        return;
    }
    // Posted before anybody hears of it, and forgotten if the model ends first. A scan that is faster than whoever
    // listens must not end within this call.
    QMetaObject::invokeMethod(
        this, [this, roots = roots_, recursive = recursive_] { gather(roots, recursive); }, Qt::QueuedConnection);

    Step step(*this);
    step.set(scanning_, true, &Model::scanningChanged);
    step.set(finished_, false, &Model::finishedChanged);
    step.set(activeItem_, std::nullopt, &Model::activeItemChanged);
    step.set(messageKey_, QStringLiteral("Читаю список файлов…"), &Model::messageKeyChanged);
    step.tell();
}

QCoro::Task<void> Model::gather(Paths roots, bool recursive) {
    const QPointer<Model> self(this);
    QFuture<Scanned> future =
        inBackground([scan = services_.scan, roots = std::move(roots), recursive] { return scan(roots, recursive); });
    Scanned scanned = co_await future;
    if (self) {
        self->applyScan(std::move(scanned));
    }
}

void Model::applyScan(Scanned scanned) {
    Step step(*this);
    step.set(scanning_, false, &Model::scanningChanged);
    step.note(&Model::itemsChanged);
    items_.clear();
    if (auto* const found = std::get_if<std::vector<InputItem>>(&scanned)) {
        items_.reserve(static_cast<qsizetype>(found->size()));
        std::copy_if(
            std::move_iterator(found->begin()), std::move_iterator(found->end()), std::back_inserter(items_),
            [this](const InputItem& item) { return excluded_.empty() || !excluded_.contains(standardised(item.url)); });
        resetQueueStatus(step);
        if (items_.isEmpty()) {
            step.set(messageKey_, QStringLiteral("В выбранных папках нет JPG, JPEG, WebP, PNG, GIF или AVIF"),
                     &Model::messageKeyChanged);
        }
    } else {
        if (!selection_.empty()) {
            selection_.clear();
            step.note(&Model::selectionChanged);
        }
        step.set(error_, std::get<std::exception_ptr>(scanned), &Model::errorChanged);
        step.set(messageKey_, QStringLiteral("Не удалось прочитать файлы"), &Model::messageKeyChanged);
    }
    step.tell();
}

void Model::removeSelected() {
    if (!canEditQueue() || selection_.empty()) {
        return;
    }
    Step step(*this);
    step.note(&Model::itemsChanged);
    step.note(&Model::selectionChanged);
    Ids selected = std::exchange(selection_, {});
    // The rows share the items, so that removing in place would first copy all of them.
    Items kept;
    Ids removed;
    removed.reserve(selected.size());
    for (const InputItem& item : std::as_const(items_)) {
        if (auto node = selected.extract(item.id())) {
            node.value() = standardised(item.url);
            removed.insert(std::move(node));
        } else {
            kept.append(item);
        }
    }
    items_ = std::move(kept);
    if (std::erase_if(roots_, [&](const fs::path& root) { return removed.contains(standardised(root)); }) > 0) {
        step.note(&Model::rootsChanged);
    }
    excluded_.merge(removed);
    resetQueueStatus(step);
    step.tell();
}

void Model::clearQueue() {
    if (!canEditQueue()) {
        return;
    }
    Step step(*this);
    items_.clear();
    step.note(&Model::itemsChanged);
    if (!roots_.empty()) {
        roots_.clear();
        step.note(&Model::rootsChanged);
    }
    excluded_.clear();
    resetQueueStatus(step);
    step.tell();
}

void Model::resetQueueStatus() {
    Step step(*this);
    resetQueueStatus(step);
    step.tell();
}

void Model::resetQueueStatus(Step& step) {
    if (!selection_.empty()) {
        selection_.clear();
        step.note(&Model::selectionChanged);
    }
    step.clearStatuses();
    step.set(completed_, 0, &Model::completedChanged);
    step.set(successes_, 0, &Model::successesChanged);
    step.set(failures_, 0, &Model::failuresChanged);
    step.set(finished_, false, &Model::finishedChanged);
    step.set(activeItem_, std::nullopt, &Model::activeItemChanged);
    step.set(messageKey_, keyOfList(items_.isEmpty()), &Model::messageKeyChanged);
}

} // namespace ovrel
