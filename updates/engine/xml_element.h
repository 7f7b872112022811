/// \file xml_element.h
/// A small XML document as a tree.
#pragma once

#include <QByteArray>
#include <QLatin1StringView>
#include <QString>
#include <QXmlStreamAttributes>

#include <optional>
#include <vector>

namespace ovrel {

/// Names in the update framework's namespace begin with "sparkle:", whatever their prefix; all other names stand as
/// they are written.
struct XmlElement {
    QString name;
    QString writtenName; ///< with the prefix of the document
    QString text;        ///< with that of the elements within, blanks included
    QXmlStreamAttributes attributes;
    std::vector<XmlElement> children;

    /// \return the value without white space around it, empty when there is no such attribute
    QString attribute(QLatin1StringView attributeName) const;
};

/// Reads UTF-8 without a document type, and so without entities. Depth and numbers of elements and attributes are
/// bounded, so that time and memory are, too.
/// \return the root, or nothing for everything else
std::optional<XmlElement> readXml(const QByteArray& bytes);

} // namespace ovrel
