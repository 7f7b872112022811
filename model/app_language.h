/// \file app_language.h
/// The language of the interface, and the ways in which a text comes to be in it.
#pragma once

#include <QHash>
#include <QList>
#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>

namespace ovrel {

struct HelpSection;

/// A value; comparable, hashable, usable in switch statements. Any thread.
class AppLanguage {
public:
    enum Case : std::uint8_t { russian, english };

    /// In the order in which they are offered.
    static constexpr std::array<Case, 2> allCases{russian, english};

    /// The name under which the choice is stored.
    static constexpr QLatin1StringView preferenceKey{"OvrelLanguage"};

    /// Russian unless another is named, as where nothing has been chosen.
    // NOLINTNEXTLINE(google-explicit-constructor): a case is a language
    constexpr AppLanguage(Case value = russian) : case_(value) {}
    constexpr operator Case() const { return case_; }

    /// \return "ru" or "en"
    QString rawValue() const;

    /// \return nothing unless `text` is exactly one of the raw values
    static std::optional<AppLanguage> fromRawValue(const QString& text);

    /// The choice that stands for what is stored under preferenceKey: Russian, whatever the system speaks, unless it
    /// is exactly "en".
    static AppLanguage saved(const std::optional<QString>& stored);

    /// The English text of each Russian one, made at the first call. A key that the table holds twice ends the program.
    static const QHash<QString, QString>& englishText();

    /// `key`, which is Russian, in this language; without a translation it stays as it is.
    QString text(const QString& key) const;

    /// One of two texts, neither of which has to be in the table.
    QString choose(const QString& russianText, const QString& englishText) const;

    /// The message of an error for the user: a ConversionError's own text, otherwise a sentence about the file or its
    /// domain and code. Errors without a code are named "std::exception" and 0.
    /// \param error not null
    QString describe(const std::exception_ptr& error) const;

    /// The questions of the Help window with their answers, in the order in which they are shown. Whoever calls this
    /// includes model/help_sections.h.
    QList<HelpSection> helpSections() const;

private:
    Case case_;
};

/// For QHash, with the case's number.
inline std::size_t qHash(AppLanguage language, std::size_t seed = 0) {
    return ::qHash(static_cast<int>(AppLanguage::Case(language)), seed);
}

} // namespace ovrel
