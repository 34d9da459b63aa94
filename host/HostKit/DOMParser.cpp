#include <HostKit/DOMParser.h>

#include "SchemaModel.h"
#include "StructureCheck.h"

#include <CoreKit/Exceptions.h>
#include <HostKit/DocumentSource.h>

#include <QFile>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLErrorCodes.hpp>
#include <xercesc/framework/XMLGrammarPoolImpl.hpp>
#include <xercesc/framework/XMLValidityCodes.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/common/Grammar.hpp>

#include <algorithm>
#include <functional>
#include <map>

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

/// A problem at a place, or about an element, whose place is only looked up when the parse is over: a parser tells
/// where a start tag ends, which for one that spans lines is another line.
struct SFinding
{
    EErrorKind kind;
    EErrorSeverity severity;
    std::string message;
    SElementPlace place;
    std::size_t element = 0; ///< its number in document order, from 1; 0 for none
};

/// The node after this one in document order, null at the end.
pugi::xml_node Following(pugi::xml_node node)
{
    if (node.first_child())
    {
        return node.first_child();
    }
    while (node && !node.next_sibling())
    {
        node = node.parent();
    }
    return node.next_sibling();
}

/// Gives what was found about elements their places.
void Locate(std::vector<SFinding>& findings, const CDocumentSource& source)
{
    std::multimap<std::size_t, SFinding*> open;
    for (SFinding& finding : findings)
    {
        if (finding.element != 0)
        {
            open.emplace(finding.element, &finding);
        }
    }
    auto next = open.begin();
    std::size_t number = 0;
    for (pugi::xml_node node = open.empty() ? pugi::xml_node() : source.Tree().first_child();
         node && next != open.end(); node = Following(node))
    {
        number += node.type() == pugi::node_element ? 1U : 0U;
        for (; next != open.end() && next->first == number; ++next)
        {
            next->second->place = source.Place(node);
        }
    }
}

/// A problem that the parser itself reports.
struct SComplaint
{
    /// What it is about: an element's name and attributes, its content, or something else.
    enum class ETopic
    {
        Element,
        Content,
        Text,
        NoRoot,
        Other
    };

    ETopic topic;
    SFinding finding;
};

SComplaint::ETopic TopicOf(unsigned code, const XMLCh* domain)
{
    using xerces::XMLErrs;
    using xerces::XMLString;
    using xerces::XMLUni;
    using xerces::XMLValid;
    if (XMLString::equals(domain, XMLUni::fgXMLErrDomain))
    {
        return code == XMLErrs::EmptyMainEntity || code == XMLErrs::InvalidDocumentStructure
            ? SComplaint::ETopic::NoRoot
            : SComplaint::ETopic::Other;
    }
    if (!XMLString::equals(domain, XMLUni::fgValidityDomain))
    {
        return SComplaint::ETopic::Other;
    }
    switch (code)
    {
    case XMLValid::ElementNotDefined:
    case XMLValid::AttNotDefinedForElement:
    case XMLValid::RequiredAttrNotProvided:
    case XMLValid::GrammarNotFound:
    case XMLValid::ElementNotQualified:
        return SComplaint::ETopic::Element;
    case XMLValid::ElementNotValidForContent:
    case XMLValid::NotEnoughElemsForCM:
    case XMLValid::EmptyNotValidForContent:
    case XMLValid::EmptyElemHasContent:
    case XMLValid::SimpleTypeHasChild:
        return SComplaint::ETopic::Content;
    case XMLValid::NoCharDataInCM:
        return SComplaint::ETopic::Text;
    default:
        return SComplaint::ETopic::Other;
    }
}

/// Listens to one parse: gathers problems, and ends the parse when it meets what is refused. The parser's complaints
/// about structure are held back until the element they are about is known, and passed on in the parser's words when
/// the structure check has nothing to say about it.
class CValidationHandler : public xerces::DefaultHandler
{
public:
    CValidationHandler(const CSchemaModel& model, const QString& namespaceURI)
        : m_Structure(model, namespaceURI,
                      [this](const std::string& problem, std::size_t element) {
                          Add({EErrorKind::Schema, SEVERITY_ERROR, problem, {}, element});
                      })
    {
    }

    /// Everything found; call it once, after the parse.
    std::vector<SFinding> Findings()
    {
        for (SComplaint& complaint : m_HeldBack)
        {
            m_Findings.push_back(std::move(complaint.finding));
        }
        return std::move(m_Findings);
    }

    void AddFatal(const XMLCh* message)
    {
        m_Findings.push_back({EErrorKind::Xml, SEVERITY_FATAL_ERROR, ToUtf8(message), {}});
    }

    void Complain(SComplaint complaint)
    {
        switch (complaint.topic)
        {
        case SComplaint::ETopic::Element:
        case SComplaint::ETopic::Content:
            m_HeldBack.push_back(std::move(complaint));
            break;
        case SComplaint::ETopic::Text:
            Add({EErrorKind::Schema, SEVERITY_ERROR,
                 "text is not allowed in " + m_Structure.Inside() + "; remove it or make it a comment",
                 complaint.finding.place});
            break;
        case SComplaint::ETopic::NoRoot:
            if (m_Elements == 0)
            {
                Refuse(EErrorKind::Xml, m_Structure.MissingRoot(), complaint.finding.place);
            }
            [[fallthrough]];
        default:
            Add(std::move(complaint.finding));
        }
    }

    void setDocumentLocator(const xerces::Locator* locator) override { m_Locator = locator; }

    void startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* qualifiedName,
                      const xerces::Attributes& attributes) override
    {
        ++m_Elements;
        if (++m_Depth > CDOMParser::MAX_DEPTH)
        {
            Refuse(EErrorKind::Xml, "elements nest deeper than " + std::to_string(CDOMParser::MAX_DEPTH) + " levels",
                   {}, m_Elements);
        }
        Settle(SComplaint::ETopic::Element,
               m_Structure.Enter(m_Names.Name(uri, localName, qualifiedName), attributes, m_Elements));
    }

    void endElement(const XMLCh* /*uri*/, const XMLCh* /*localName*/, const XMLCh* /*qualifiedName*/) override
    {
        --m_Depth;
        Settle(SComplaint::ETopic::Content, m_Structure.Leave());
    }

    void startDTD(const XMLCh* /*name*/, const XMLCh* /*publicId*/, const XMLCh* /*systemId*/) override
    {
        const SElementPlace place =
            m_Locator ? SElementPlace{m_Locator->getLineNumber(), m_Locator->getColumnNumber()} : SElementPlace{1, 1};
        Refuse(EErrorKind::Xml,
               "a document type definition (<!DOCTYPE>) is not allowed; remove it and whatever it declares", place);
    }

    xerces::InputSource* resolveEntity(const XMLCh* /*publicId*/, const XMLCh* /*systemId*/) override
    {
        static const XMLByte nothing[1] = {};
        return new xerces::MemBufInputSource(nothing, 0, "nothing");
    }

private:
    void Add(SFinding finding)
    {
        const SElementPlace place = finding.place;
        const std::size_t element = finding.element;
        m_Findings.push_back(std::move(finding));
        if (m_Findings.size() == CDOMParser::MAX_ERRORS)
        {
            m_HeldBack.clear();
            Refuse(EErrorKind::Schema, "there are more problems than that; the rest of the file was not checked", place,
                   element);
        }
    }

    [[noreturn]] void Refuse(EErrorKind kind, std::string message, SElementPlace place, std::size_t element = 0)
    {
        m_Findings.push_back({kind, SEVERITY_FATAL_ERROR, std::move(message), place, element});
        throw SStopped();
    }

    /// Drops or passes on what was held back on a topic.
    void Settle(SComplaint::ETopic topic, bool isSaid)
    {
        if (m_HeldBack.empty())
        {
            return;
        }
        std::vector<SComplaint> rest;
        std::swap(rest, m_HeldBack);
        for (SComplaint& complaint : rest)
        {
            if (complaint.topic != topic)
            {
                m_HeldBack.push_back(std::move(complaint));
            }
            else if (!isSaid)
            {
                Add(std::move(complaint.finding));
            }
        }
    }

    CStructureCheck m_Structure;
    CElementNames m_Names;
    const xerces::Locator* m_Locator = nullptr;
    std::vector<SFinding> m_Findings;
    std::vector<SComplaint> m_HeldBack;
    std::size_t m_Elements = 0;
    unsigned m_Depth = 0;
};

/// The parser; what it finds wrong goes to a function with a code, which its public interface leaves out.
class CReader : public xerces::SAX2XMLReaderImpl
{
public:
    using TComplain = std::function<void(SComplaint)>;

    CReader(xerces::XMLGrammarPool& pool, TComplain complain)
        : SAX2XMLReaderImpl(xerces::XMLPlatformUtils::fgMemoryManager, &pool)
        , m_Complain(std::move(complain))
    {
        setErrorHandler(&m_Silent);
        using xerces::XMLUni;
        setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
        setFeature(XMLUni::fgSAX2CoreValidation, true);
        setFeature(XMLUni::fgXercesDynamic, false);
        setFeature(XMLUni::fgXercesSchema, true);
        setFeature(XMLUni::fgXercesSchemaFullChecking, true);
        setFeature(XMLUni::fgXercesLoadExternalDTD, false);
        setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    }

    void error(unsigned code, const XMLCh* domain, ErrTypes type, const XMLCh* text, const XMLCh* /*systemId*/,
               const XMLCh* /*publicId*/, XMLFileLoc line, XMLFileLoc column) override
    {
        const EErrorSeverity severity = type == ErrType_Warning ? SEVERITY_WARNING
            : type == ErrType_Error                             ? SEVERITY_ERROR
                                                                : SEVERITY_FATAL_ERROR;
        const EErrorKind kind =
            xerces::XMLString::equals(domain, xerces::XMLUni::fgValidityDomain) ? EErrorKind::Schema : EErrorKind::Xml;
        m_Complain({TopicOf(code, domain), {kind, severity, ToUtf8(text), {line, column}}});
    }

private:
    const TComplain m_Complain;
    xerces::DefaultHandler m_Silent; ///< never called; `error` is only called when there is a handler
};

/// The library is set up once and kept until the process ends.
void InitializeXerces()
{
    static const bool initialized = (xerces::XMLPlatformUtils::Initialize(), true);
    static_cast<void>(initialized);
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

/// The compiled schema, locked against change, and what it allows.
class CDOMParser::CGrammar
{
public:
    CGrammar(const QByteArray& text, const QString& name)
    {
        std::vector<std::string> errors;
        CReader reader(m_Pool, [&](const SComplaint& complaint) { errors.push_back(complaint.finding.message); });
        const bool loaded =
            reader.loadGrammar(*SourceOf(text, name), xerces::Grammar::SchemaGrammarType, true) != nullptr;
        if (!loaded || !errors.empty())
        {
            ThrowFormatted<ZKDOMDocException>("The schema \"%s\" cannot be used: %s", name.toUtf8().constData(),
                                              errors.empty() ? "no grammar in it" : errors.front().c_str());
        }
        m_Pool.lockPool();
        bool changed = false;
        m_Model = std::make_unique<CSchemaModel>(*m_Pool.getXSModel(changed));
    }

    xerces::XMLGrammarPool& Pool() { return m_Pool; }
    const CSchemaModel& Model() const { return *m_Model; }

private:
    xerces::XMLGrammarPoolImpl m_Pool;
    std::unique_ptr<CSchemaModel> m_Model;
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

SValidation CDOMParser::Validate(const CDocumentSource& source, const QString& namespaceURI)
{
    CValidationHandler handler(m_Grammar->Model(), namespaceURI);
    try
    {
        xerces::SecurityManager limits;
        limits.setEntityExpansionLimit(0);
        CReader reader(m_Grammar->Pool(), [&handler](SComplaint complaint) { handler.Complain(std::move(complaint)); });
        reader.setProperty(xerces::XMLUni::fgXercesSecurityManager, &limits);
        reader.setFeature(xerces::XMLUni::fgXercesUseCachedGrammarInParse, true);
        reader.setFeature(xerces::XMLUni::fgXercesLoadSchema, false);
        reader.setContentHandler(&handler);
        reader.setLexicalHandler(&handler);
        reader.setEntityResolver(&handler);
        reader.parse(*SourceOf(source.Text().utf8, source.Path()));
    }
    catch (const SStopped&)
    {
        // The handler has said why.
    }
    catch (const xerces::XMLException& exception)
    {
        handler.AddFatal(exception.getMessage());
    }
    catch (const xerces::SAXException& exception)
    {
        handler.AddFatal(exception.getMessage());
    }
    std::vector<SFinding> findings = handler.Findings();
    Locate(findings, source);
    SValidation validation;
    for (SFinding& finding : findings)
    {
        validation.errors.emplace_back(finding.kind, finding.severity, finding.place, std::move(finding.message),
                                       namespaceURI.toStdString());
    }
    return validation;
}

QByteArray CDOMParser::SchemaText(const QString& schema)
{
    QFile file(QStringLiteral(":/orvanta/") + schema);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
