#include <Session/SuiteProblems.h>

#include <CoreKit/CatchLadder.h>
#include <HostKit/AppSettings.h>
#include <HostKit/AppState.h>
#include <HostKit/DocumentSource.h>
#include <HostKit/TestSuiteFilters.h>
#include <Orvanta/BooleanOperatorNode.h>
#include <Orvanta/DOMDocTestSuite.h>
#include <Orvanta/NumericExpressionNode.h>
#include <Orvanta/TestSuiteState.h>
#include <Orvanta/Variable.h>

#include <algorithm>
#include <array>
#include <set>
#include <tuple>

namespace
{
std::string OneLine(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

void SortByPlace(std::vector<SProblem>& problems)
{
    std::stable_sort(problems.begin(), problems.end(),
                     [](const SProblem& left, const SProblem& right)
                     { return std::tie(left.line, left.column) < std::tie(right.line, right.column); });
}

/// Finds problems of one kind in a document.
class CFinder
{
public:
    explicit CFinder(const CDocumentSource& source)
        : m_Source(source)
    {
    }

    void SetRule(const char* rule) { m_Rule = rule; }

    pugi::xml_node Root() const { return m_Source.Tree().document_element(); }

    void Add(const pugi::xml_node& element, const std::string& message)
    {
        const SElementPlace place = m_Source.Place(element);
        m_Problems.push_back({place.line, place.column, ESeverity::Error, m_Rule, OneLine(message)});
    }

    std::vector<SProblem> Take()
    {
        SortByPlace(m_Problems);
        return std::move(m_Problems);
    }

private:
    const CDocumentSource& m_Source;
    std::string m_Rule;
    std::vector<SProblem> m_Problems;
};

void FindUnknownTypes(CFinder& finder)
{
    for (const pugi::xml_node& declaration : finder.Root().child("x:Variables").children())
    {
        if (declaration.type() == pugi::node_element)
        {
            Guarded([&] { TypeNameToType(QString::fromUtf8(declaration.attribute("type").value())); },
                    [&](const ZKException& exception) { finder.Add(declaration, exception.Message()); });
        }
    }
}

void FindDuplicateVariables(CFinder& finder)
{
    std::set<std::string> names;
    for (const pugi::xml_node& declaration : finder.Root().child("x:Variables").children())
    {
        const std::string name = declaration.attribute("name").value();
        if (declaration.type() == pugi::node_element && !names.insert(name).second)
        {
            finder.Add(declaration, "the variable \"" + name + "\" is declared already");
        }
    }
}

/// Looks for words outside of the table of operators that an element has.
void FindUnknownOperators(CFinder& finder)
{
    struct CWalker : pugi::xml_tree_walker
    {
        explicit CWalker(CFinder& target)
            : finder(target)
        {
        }
        bool for_each(pugi::xml_node& node) override
        {
            const std::string_view element = node.name();
            if (element != "x:Comparison" && element != "x:Expression")
            {
                return true;
            }
            const QString word = QString::fromUtf8(node.attribute("operator").value());
            const QStringList known =
                element == "x:Comparison" ? CBooleanOperatorNode::Operators() : CNumericExpressionNode::Operators();
            if (!known.contains(word))
            {
                finder.Add(node,
                           std::string(element) + ": the operator \"" + word.toStdString() +
                               "\" is not known; known are " + known.join(QStringLiteral(", ")).toStdString());
            }
            return true;
        }
        CFinder& finder;
    };
    CWalker walker(finder);
    finder.Root().traverse(walker);
}

struct SRule
{
    const char* name;
    void (*find)(CFinder& finder);
};

/// The rules that a suite keeps to, or it cannot be made into a tree.
constexpr std::array LOAD_RULES{
    SRule{"unknown-type", FindUnknownTypes},
    SRule{"duplicate-variable", FindDuplicateVariables},
    SRule{"unknown-operator", FindUnknownOperators},
};

/// What the rules find; when it is nothing, the reason that was given otherwise.
std::vector<SProblem> LoadProblems(const CDocumentSource& source, const std::string& reason)
{
    CFinder finder(source);
    for (const SRule& rule : LOAD_RULES)
    {
        finder.SetRule(rule.name);
        rule.find(finder);
    }
    std::vector<SProblem> problems = finder.Take();
    if (problems.empty())
    {
        problems.push_back({0, 0, ESeverity::Error, "tree", OneLine(reason)});
    }
    return problems;
}

const char* RuleOf(EErrorKind kind)
{
    switch (kind)
    {
    case EErrorKind::Unreadable:
        return "unreadable";
    case EErrorKind::Xml:
        return "xml";
    default:
        return "schema";
    }
}

/// The message without the file's name, which every problem is shown with anyway.
std::string WithoutFile(const std::string& message, const std::string& file)
{
    return message.starts_with(file + ": ") ? message.substr(file.size() + 2) : message;
}

std::string ProductRule(const pugi::xml_node& root)
{
    std::string label;
    CAppState::AppSettings().GetAppSetting("TestScriptLabel", label, 0);
    const std::string products = root.attribute("products").value();
    const std::string whose = products.empty() ? "it names no products" : "its products are '" + products + "'";
    return "not for this product: " + whose + ", the product label is '" + label + "'";
}

std::string FilterRule(const pugi::xml_node& root, bool hidden)
{
    const CFilter* filter = CAppState::CustomConfiguration()->TestSuiteFilters().Filter(CAppState::CurrentFilter());
    return "left out by the filter '" + filter->Name().toStdString() + "': its configurations are '" +
        root.attribute("configurations").value() + "', the filter's categories are '" +
        filter->Categories().join(QStringLiteral(", ")).toStdString() + "'" +
        (hidden ? " (the filter hides such suites)" : "");
}
} // namespace

std::vector<SProblem> DecisionProblems(const CDocumentSource& source, std::uint32_t access)
{
    const pugi::xml_node root = source.Tree().document_element();
    if (!root || (access & ACCESS_PASSED_FILTER) != 0)
    {
        return {};
    }
    if ((access & ACCESS_IN_APPLICATION) == 0)
    {
        return {{0, 0, ESeverity::Error, "product", OneLine(ProductRule(root))}};
    }
    return {{0, 0, ESeverity::Error, "filter", OneLine(FilterRule(root, (access & ACCESS_HIDE_UNFILTERED) != 0))}};
}

std::vector<SProblem> DocumentProblems(const TestSuiteState& state, const CDocumentSource& source)
{
    std::vector<SProblem> problems;
    const CDOMDocTestSuite* const document = state.Document();
    const std::string file = source.Path().toStdString();
    for (std::size_t i = 0; document && i < document->ErrorCount(); ++i)
    {
        const CDOMError& error = document->Error(i);
        problems.push_back({error.LineNumber(), error.ColumnNumber(),
                            error.Severity() == SEVERITY_WARNING ? ESeverity::Warning : ESeverity::Error,
                            RuleOf(error.Kind()), WithoutFile(OneLine(error.Message()), file)});
    }
    if (problems.empty())
    {
        return LoadProblems(source, "the suite cannot be read");
    }
    SortByPlace(problems);
    return problems;
}

std::vector<SProblem> TreeProblems(const CDocumentSource& source, const std::string& thrown)
{
    return LoadProblems(source, thrown);
}
