#pragma once

#include "SchemaModel.h"

#include <QString>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <xercesc/sax2/Attributes.hpp>

/// An element's name.
struct SElementName
{
    std::string uri;
    std::string shown; ///< as it is written
    std::string known; ///< as the schema's elements are named, with the prefix "x"
};

/// The names of elements as a parser tells them, each converted once.
class CElementNames
{
public:
    /// The name stays as it is until the next call.
    const SElementName& Name(const XMLCh* uri, const XMLCh* local, const XMLCh* shown);

private:
    struct SHash
    {
        using is_transparent = void;
        std::size_t operator()(std::u16string_view text) const { return std::hash<std::u16string_view>()(text); }
    };
    struct SConverted
    {
        std::u16string uri;
        SElementName name;
    };

    /// By the name as it is written; a prefix seldom changes its meaning.
    std::unordered_map<std::u16string, SConverted, SHash, std::equal_to<>> m_Converted;
};

/// Follows the elements of a document beside the validator and says in words what is wrong with their names, order and
/// attributes. An element gets one problem about the order of its children at the most, and below an element of unknown
/// meaning nothing is said.
class CStructureCheck
{
public:
    /// Takes a problem and the number of the element that it is about.
    using TReport = std::function<void(const std::string& problem, std::size_t element)>;

    /// `model` outlives the check.
    CStructureCheck(const CSchemaModel& model, const QString& namespaceURI, TReport report);

    /// An element begins, the one of this number. True when no complaint of the validator about its name and attributes
    /// has to be passed on.
    bool Enter(const SElementName& name, const xercesc::Attributes& attributes, std::size_t number);
    /// The innermost element ends. True when no complaint of the validator about its content has to be passed on.
    bool Leave();

    /// The name of the innermost open element.
    const std::string& Inside() const { return m_Open.back().name; }
    /// What to say of a document without any element.
    std::string MissingRoot() const;

private:
    struct SOpen
    {
        std::string name; ///< with the prefix "x"
        std::size_t number = 0;
        const SContentModel* content = nullptr; ///< null when its meaning is unknown
        std::size_t state = 0;
        std::string lastStep;          ///< the last child that was expected
        bool isDeclared = false;       ///< for the validator too; what it says of others is not to the point
        bool isExplained = false;      ///< something was said about the children
        bool isOrderExplained = false; ///< about their order
    };

    void EnterRoot(const SElementName& name, SOpen& root);
    void EnterChild(const SElementName& name, SOpen& child);
    void EnterUndeclared(SOpen& parent, SOpen& child);
    void Step(SOpen& parent, const std::string& childName, std::size_t child);
    void CheckPrefix(const SElementName& name, std::size_t element);
    void CheckAttributes(const SOpen& element, const xercesc::Attributes& attributes);
    void Say(const std::string& problem, std::size_t element);

    const CSchemaModel& m_Model;
    const std::string m_Namespace;
    const TReport m_Report;
    std::vector<SOpen> m_Open;
    std::size_t m_Said = 0;
    bool m_PrefixReported = false;
};
