#include "updates/engine/xml_element.h"

#include <QUtf8StringView>
#include <QXmlStreamReader>

#include <algorithm>

namespace ovrel {

namespace {

constexpr QLatin1StringView frameworkNamespace{"http://www.andymatuschak.org/xml-namespaces/sparkle"};
constexpr QLatin1StringView frameworkPrefix{"sparkle"};

constexpr int depthLimit = 16;
constexpr int elementLimit = 20'000;
constexpr qsizetype attributeLimit = 64; ///< of one element, and as many declarations of namespaces
/// QXmlStreamReader compares all attributes of an element with each other before it hands them out: 60 000 of them take
/// eight seconds. No document has more attributes than equals signs.
constexpr qsizetype equalsSignLimit = 16'384;

QString normalizedName(QStringView namespaceUri, QStringView name, QStringView writtenName) {
    return namespaceUri == frameworkNamespace ? QStringLiteral("sparkle:") + name.toString() : writtenName.toString();
}

class TreeReader {
public:
    explicit TreeReader(const QString& text) : reader_(text) {
        // The literal prefix is understood without a declaration; one that the document makes itself comes first.
        reader_.addExtraNamespaceDeclaration({frameworkPrefix, frameworkNamespace});
    }

    std::optional<XmlElement> read() {
        std::optional<XmlElement> root;
        while (!reader_.atEnd()) {
            switch (reader_.readNext()) {
            case QXmlStreamReader::StartDocument: refuseIf(!isUtf8(reader_.documentEncoding())); break;
            case QXmlStreamReader::DTD: refuseIf(true); break;
            case QXmlStreamReader::StartElement: root = readElement(1); break;
            default: break;
            }
        }
        return reader_.hasError() ? std::nullopt : std::move(root);
    }

private:
    static bool isUtf8(QStringView encoding) {
        return encoding.isEmpty() || encoding.compare(QLatin1StringView("UTF-8"), Qt::CaseInsensitive) == 0;
    }

    /// Reading ends with an error.
    void refuseIf(bool refused) {
        if (refused) {
            reader_.raiseError();
        }
    }

    /// Reads on from the beginning of an element to its end.
    XmlElement readElement(int depth) {
        XmlElement element;
        element.name = normalizedName(reader_.namespaceUri(), reader_.name(), reader_.qualifiedName());
        element.writtenName = reader_.qualifiedName().toString();
        element.attributes = reader_.attributes();
        refuseIf(depth > depthLimit || ++elements_ > elementLimit || element.attributes.size() > attributeLimit ||
                 reader_.namespaceDeclarations().size() > attributeLimit);
        while (!reader_.atEnd()) {
            switch (reader_.readNext()) {
            case QXmlStreamReader::StartElement:
                element.children.push_back(readElement(depth + 1));
                element.text += element.children.back().text;
                break;
            case QXmlStreamReader::Characters: element.text += reader_.text(); break;
            case QXmlStreamReader::EndElement: return element;
            default: break;
            }
        }
        return element;
    }

    QXmlStreamReader reader_;
    int elements_ = 0;
};

} // namespace

QString XmlElement::attribute(QLatin1StringView attributeName) const {
    const auto found = std::find_if(attributes.begin(), attributes.end(), [&](const QXmlStreamAttribute& candidate) {
        return normalizedName(candidate.namespaceUri(), candidate.name(), candidate.qualifiedName()) == attributeName;
    });
    return found == attributes.end() ? QString() : found->value().trimmed().toString();
}

std::optional<XmlElement> readXml(const QByteArray& bytes) {
    const QUtf8StringView text(bytes.constData(), bytes.size());
    if (!text.isValidUtf8() || bytes.count('=') > equalsSignLimit) {
        return std::nullopt;
    }
    return TreeReader(text.toString()).read();
}

} // namespace ovrel
