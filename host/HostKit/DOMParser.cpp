#include <HostKit/DOMParser.h>

#include "PlaceCounter.h"

#include <CoreKit/Exceptions.h>

#include <QFile>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLGrammarPoolImpl.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/common/Grammar.hpp>

#include <algorithm>
#include <string_view>

namespace xerces = XERCES_CPP_NAMESPACE;

namespace
{
/// Ends a parse from within a handler; the reason is among the errors.
struct SStopped
{
};

std::string ToUtf8(const XMLCh* text)
{
    return text ? QString::fromUtf16(text).toStdString() : std::string();
}

CDOMError MakeError(const xerces::SAXParseException& exception, EErrorSeverity severity, const std::string& uri)
{
    return CDOMError(exception.getLineNumber(), exception.getColumnNumber(), severity, ToUtf8(exception.getMessage()),
                     uri);
}

/// Finds where elements begin in the bytes of a well-formed document, front to back. A parser only tells where a start
/// tag ends, which for one that spans lines is another line.
class CElementFinder
{
public:
    explicit CElementFinder(std::string_view document)
        : m_Document(document)
        , m_Places(document)
    {
    }

    /// The next element, line 0 when there is none.
    SElementPlace Next()
    {
        for (std::size_t at = Find("<", m_Next); at < m_Document.size(); at = Find("<", m_Next))
        {
            const std::string_view rest = m_Document.substr(at);
            if (rest.starts_with("<!--"))
            {
                m_Next = Find("-->", at + 4);
            }
            else if (rest.starts_with("<![CDATA["))
            {
                m_Next = Find("]]>", at + 9);
            }
            else if (rest.starts_with("<?"))
            {
                m_Next = Find("?>", at + 2);
            }
            else
            {
                m_Next = at + 1;
                if (!rest.starts_with("</"))
                {
                    return m_Places.PlaceOf(at);
                }
            }
        }
        return {};
    }

private:
    std::size_t Find(std::string_view text, std::size_t from) const
    {
        return std::min(m_Document.find(text, from), m_Document.size());
    }

    std::string_view m_Document;
    CPlaceCounter m_Places;
    std::size_t m_Next = 0;
};

/// Listens to one parse: gathers errors and places, and ends the parse when it meets what is refused.
class CValidationHandler : public xerces::DefaultHandler
{
public:
    CValidationHandler(const QByteArray& document, const QString& namespaceURI)
        : m_Finder(std::string_view(document.constData(), static_cast<std::size_t>(document.size())))
        , m_Namespace(namespaceURI)
        , m_NamespaceUtf8(namespaceURI.toStdString())
    {
    }

    SValidation& Result() { return m_Result; }

    void AddError(std::string message, EErrorSeverity severity, SElementPlace place)
    {
        m_Result.errors.emplace_back(place.line, place.column, severity, std::move(message), m_NamespaceUtf8);
    }

    void setDocumentLocator(const xerces::Locator* locator) override { m_Locator = locator; }

    void startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* qualifiedName,
                      const xerces::Attributes& /*attributes*/) override
    {
        const SElementPlace place = m_Finder.Next();
        m_Result.places.push_back(place);
        if (++m_Depth > CDOMParser::MAX_DEPTH)
        {
            const CSafeString text = FormatText("elements nest deeper than %u levels", CDOMParser::MAX_DEPTH);
            Refuse(text.c_str(), place);
        }
        CheckNamespace(QString::fromUtf16(uri), QString::fromUtf16(localName), QString::fromUtf16(qualifiedName),
                       place);
    }

    void endElement(const XMLCh* /*uri*/, const XMLCh* /*localName*/, const XMLCh* /*qualifiedName*/) override
    {
        --m_Depth;
    }

    void startDTD(const XMLCh* /*name*/, const XMLCh* /*publicId*/, const XMLCh* /*systemId*/) override
    {
        Refuse("a document type definition (<!DOCTYPE>) is not allowed; remove it and whatever it declares",
               ParserPlace());
    }

    xerces::InputSource* resolveEntity(const XMLCh* /*publicId*/, const XMLCh* /*systemId*/) override
    {
        static const XMLByte nothing[1] = {};
        return new xerces::MemBufInputSource(nothing, 0, "nothing");
    }

    void warning(const xerces::SAXParseException& exception) override { Add(exception, SEVERITY_WARNING); }
    void error(const xerces::SAXParseException& exception) override { Add(exception, SEVERITY_ERROR); }
    void fatalError(const xerces::SAXParseException& exception) override { Add(exception, SEVERITY_FATAL_ERROR); }
    void resetErrors() override {}

private:
    void Add(const xerces::SAXParseException& exception, EErrorSeverity severity)
    {
        m_Result.errors.push_back(MakeError(exception, severity, m_NamespaceUtf8));
    }

    [[noreturn]] void Refuse(const char* message, SElementPlace place)
    {
        AddError(message, SEVERITY_FATAL_ERROR, place);
        throw SStopped();
    }

    SElementPlace ParserPlace() const
    {
        return m_Locator ? SElementPlace{m_Locator->getLineNumber(), m_Locator->getColumnNumber()}
                         : SElementPlace{1, 1};
    }

    void CheckNamespace(const QString& uri, const QString& localName, const QString& name, SElementPlace place)
    {
        const bool isRoot = m_Result.places.size() == 1;
        const std::string shown = name.toStdString();
        if (uri != m_Namespace && isRoot)
        {
            const CSafeString text = FormatText("the root element \"%s\" is not in the namespace \"%s\"; declare "
                                                "xmlns:x=\"%s\" and use the prefix x",
                                                shown.c_str(), m_NamespaceUtf8.c_str(), m_NamespaceUtf8.c_str());
            AddError(text.c_str(), SEVERITY_ERROR, place);
        }
        else if (uri == m_Namespace && name != QStringLiteral("x:") + localName && !m_PrefixReported)
        {
            m_PrefixReported = true;
            const CSafeString text = FormatText("the element \"%s\" is in the namespace \"%s\" without the prefix x; "
                                                "declare xmlns:x=\"%s\" and use the prefix x for every element",
                                                shown.c_str(), m_NamespaceUtf8.c_str(), m_NamespaceUtf8.c_str());
            AddError(text.c_str(), SEVERITY_ERROR, place);
        }
    }

    CElementFinder m_Finder;
    const QString m_Namespace;
    const std::string m_NamespaceUtf8;
    const xerces::Locator* m_Locator = nullptr;
    SValidation m_Result;
    unsigned m_Depth = 0;
    bool m_PrefixReported = false;
};

/// The library is set up once and kept until the process ends.
void InitializeXerces()
{
    static const bool initialized = (xerces::XMLPlatformUtils::Initialize(), true);
    static_cast<void>(initialized);
}

std::unique_ptr<xerces::SAX2XMLReader> MakeReader(xerces::XMLGrammarPool& pool, CValidationHandler& handler)
{
    std::unique_ptr<xerces::SAX2XMLReader> reader(
        xerces::XMLReaderFactory::createXMLReader(xerces::XMLPlatformUtils::fgMemoryManager, &pool));
    using xerces::XMLUni;
    reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
    reader->setFeature(XMLUni::fgSAX2CoreValidation, true);
    reader->setFeature(XMLUni::fgXercesDynamic, false);
    reader->setFeature(XMLUni::fgXercesSchema, true);
    reader->setFeature(XMLUni::fgXercesSchemaFullChecking, true);
    reader->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
    reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    reader->setErrorHandler(&handler);
    reader->setEntityResolver(&handler);
    return reader;
}

/// A source of UTF-8, whatever encoding the text declares.
std::unique_ptr<xerces::MemBufInputSource> SourceOf(const QByteArray& utf8, const QString& name)
{
    auto source = std::make_unique<xerces::MemBufInputSource>(reinterpret_cast<const XMLByte*>(utf8.constData()),
                                                              static_cast<XMLSize_t>(utf8.size()),
                                                              reinterpret_cast<const XMLCh*>(name.utf16()));
    source->setEncoding(xerces::XMLUni::fgUTF8EncodingString);
    return source;
}
} // namespace

bool SValidation::Valid() const
{
    return std::none_of(errors.begin(), errors.end(),
                        [](const CDOMError& error) { return error.Severity() > SEVERITY_WARNING; });
}

/// The compiled schema, locked against change.
class CDOMParser::CGrammar
{
public:
    CGrammar(const QByteArray& text, const QString& name)
    {
        CValidationHandler handler(text, QString());
        const auto reader = MakeReader(m_Pool, handler);
        const auto source = SourceOf(text, name);
        const bool loaded = reader->loadGrammar(*source, xerces::Grammar::SchemaGrammarType, true) != nullptr;
        const std::vector<CDOMError>& errors = handler.Result().errors;
        if (!loaded || !errors.empty())
        {
            ThrowFormatted<ZKDOMDocException>("The schema \"%s\" cannot be used: %s", name.toUtf8().constData(),
                                              errors.empty() ? "no grammar in it" : errors.front().Message().c_str());
        }
        m_Pool.lockPool();
    }

    xerces::XMLGrammarPool& Pool() { return m_Pool; }

private:
    xerces::XMLGrammarPoolImpl m_Pool;
};

CDOMParser::CDOMParser(const QString& schema)
{
    const QByteArray text = SchemaText(schema);
    if (text.isEmpty())
    {
        ThrowFormatted<ZKDOMDocException>("There is no schema \"%s\".", schema.toUtf8().constData());
    }
    try
    {
        InitializeXerces();
        m_Grammar = std::make_unique<CGrammar>(text, schema);
    }
    catch (const xerces::XMLException& exception)
    {
        ThrowFormatted<ZKDOMDocException>("The schema \"%s\" cannot be used: %s", schema.toUtf8().constData(),
                                          ToUtf8(exception.getMessage()).c_str());
    }
    catch (const xerces::SAXException& exception)
    {
        ThrowFormatted<ZKDOMDocException>("The schema \"%s\" cannot be used: %s", schema.toUtf8().constData(),
                                          ToUtf8(exception.getMessage()).c_str());
    }
}

CDOMParser::~CDOMParser() = default;

SValidation CDOMParser::Validate(const QByteArray& utf8, const QString& namespaceURI, const QString& path)
{
    CValidationHandler handler(utf8, namespaceURI);
    try
    {
        xerces::SecurityManager limits;
        limits.setEntityExpansionLimit(0);
        const auto reader = MakeReader(m_Grammar->Pool(), handler);
        reader->setProperty(xerces::XMLUni::fgXercesSecurityManager, &limits);
        reader->setFeature(xerces::XMLUni::fgXercesUseCachedGrammarInParse, true);
        reader->setFeature(xerces::XMLUni::fgXercesLoadSchema, false);
        reader->setContentHandler(&handler);
        reader->setLexicalHandler(&handler);
        reader->parse(*SourceOf(utf8, path));
    }
    catch (const SStopped&)
    {
        // The handler has said why.
    }
    catch (const xerces::XMLException& exception)
    {
        handler.AddError(ToUtf8(exception.getMessage()), SEVERITY_FATAL_ERROR, {});
    }
    catch (const xerces::SAXParseException& exception)
    {
        handler.Result().errors.push_back(MakeError(exception, SEVERITY_FATAL_ERROR, namespaceURI.toStdString()));
    }
    catch (const xerces::SAXException& exception)
    {
        handler.AddError(ToUtf8(exception.getMessage()), SEVERITY_FATAL_ERROR, {});
    }
    return std::move(handler.Result());
}

QByteArray CDOMParser::SchemaText(const QString& schema)
{
    QFile file(QStringLiteral(":/orvanta/") + schema);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
