#include <Session/AnswersCheck.h>

#include <Session/CheckedDocument.h>
#include <Session/LoopOutline.h>

#include <HostKit/ReadLibrary.h>
#include <HostKit/UserInput.h>
#include <Orvanta/Node.h>
#include <Orvanta/SetPopupNode.h>

#include <algorithm>
#include <map>

namespace
{
/// How a node ends, as far as the prompts in it decide that.
enum class EEnd
{
    Passed,
    Failed,  ///< a prompt was closed or timed out
    Aborted, ///< by an answer
    Unknown, ///< nobody can say what comes next, or a run would not get there
};

EPromptKind KindOf(std::string_view element)
{
    return element == "x:BooleanPopup" ? EPromptKind::Boolean
        : element == "x:SetPopup"      ? EPromptKind::Integer
                                       : EPromptKind::Info;
}

bool IsPrompt(const CNode& node)
{
    return std::string_view(node.Element().name()).ends_with("Popup");
}

/// Goes through a tree as a run would and gives each prompt on the way its entry.
class CWalk
{
public:
    CWalk(const CDocumentSource& source, const std::vector<CNode*>& nodes, const std::vector<SNodeInfo>& infos,
          SAnswersAhead& answers)
        : m_Document(source)
        , m_Answers(answers)
    {
        m_Document.SetRule("answers");
        for (std::size_t i = nodes.size(); i-- > 0;)
        {
            const CNode& node = *nodes[i]; // behind its children
            bool matters = infos[i].selected && (IsPrompt(node) || HasBadIterator(node));
            for (int child = 0; child < node.ChildCount(); ++child)
            {
                matters = matters || m_Matters[node.GetChild(child)];
            }
            m_Matters[&node] = matters;
        }
    }

    std::vector<SProblem> Go(const CNode& root)
    {
        const CReadLibrary* const library = m_Document.Library();
        const bool isRun = !library || library->IsLoaded(); // without its library, nothing of a suite runs
        if (m_Matters[&root] && m_Answers.isCertain && isRun)
        {
            const bool isKnown = !HasCondition(root) && WalkPhases(root) == EEnd::Passed;
            m_Answers.isCertain = isKnown;
        }
        return m_Document.Take();
    }

private:
    bool HasBadIterator(const CNode& node) const
    {
        return std::string_view(node.Element().name()) == "x:Group" &&
            !SLoopOutline(m_Document, node.Element()).HasGoodIterator();
    }

    /// Whether a prompt's time-out can be read.
    bool HasGoodTimeout(const pugi::xml_node& element) const
    {
        const SReading timeout{element, "timeout", element.attribute("timeout").value(), DT_LONG};
        const SDeclaration* const variable = m_Document.Find(timeout.text);
        const bool isRead = variable && variable->type && DataTypeWidth(*variable->type) <= DataTypeWidth(DT_LONG);
        return *timeout.text == '\0' || timeout.Literal() || isRead;
    }

    static bool HasCondition(const CNode& node) { return node.Element().child("x:Condition"); }

    /// A run goes on with the next suite unless this is unknown or aborted.
    EEnd WalkPhases(const CNode& root)
    {
        EEnd end = EEnd::Passed;
        for (int i = 0; i < root.ChildCount(); ++i)
        {
            const CNode& child = *root.GetChild(i);
            const std::string_view element = child.Element().name();
            const bool isInit = element == "x:InitGroup";
            const bool isExit = element == "x:ExitGroup";
            if (isExit || end == EEnd::Passed)
            {
                const EEnd childEnd = Walk(child, isInit || isExit);
                // A failed group keeps none but the initialisation's followers from running.
                end = childEnd == EEnd::Failed && !isInit ? end : std::max(end, childEnd);
            }
            if (isExit || end == EEnd::Unknown)
            {
                break;
            }
        }
        return end == EEnd::Failed ? EEnd::Passed : end;
    }

    EEnd Walk(const CNode& node, bool stopsOnFailure)
    {
        if (!m_Matters[&node])
        {
            return EEnd::Passed;
        }
        if (HasCondition(node))
        {
            return EEnd::Unknown;
        }
        return IsPrompt(node) ? Ask(node) : WalkPasses(node, stopsOnFailure);
    }

    EEnd WalkPasses(const CNode& group, bool stopsOnFailure)
    {
        const std::size_t most = m_Answers.entries.size() + 1; // each pass takes an entry, or all passes take none
        const std::optional<std::uint64_t> passes = std::string_view(group.Element().name()) == "x:Group"
            ? SLoopOutline(m_Document, group.Element()).Passes(most)
            : 1;
        if (!passes || HasBadIterator(group))
        {
            return EEnd::Unknown;
        }
        EEnd end = EEnd::Passed;
        const std::size_t none = m_Answers.met;
        for (std::uint64_t pass = 0; pass < *passes && (pass == 0 || m_Answers.met > none); ++pass)
        {
            for (int i = 0; i < group.ChildCount(); ++i)
            {
                end = std::max(end, Walk(*group.GetChild(i), stopsOnFailure));
                if (end > EEnd::Failed || (end == EEnd::Failed && stopsOnFailure))
                {
                    return end;
                }
            }
        }
        return end;
    }

    EEnd Ask(const CNode& node)
    {
        const pugi::xml_node element = node.Element();
        const SPrompt prompt = PromptOf(element);
        const bool hasVariable =
            prompt.kind == EPromptKind::Info || m_Document.Find(element.attribute("variable").value());
        if (!hasVariable || !HasGoodTimeout(element))
        {
            return EEnd::Unknown; // it fails before it asks
        }
        const std::string which = "the prompt " + Quoted(prompt.text);
        if (m_Answers.entries.empty())
        {
            m_Document.Error(element, which + " finds no answer: the list ends after " + Entries());
            return EEnd::Unknown;
        }
        const SScriptedAnswer entry = m_Answers.entries.front();
        m_Answers.entries.pop_front();
        ++m_Answers.met;
        const std::string misfit = entry.text && *entry.text != prompt.text
            ? "the entry is for the prompt " + Quoted(*entry.text)
            : CUserInput::Misfit(prompt, entry.answer);
        if (!misfit.empty())
        {
            m_Document.Error(element,
                             "entry " + std::to_string(m_Answers.met) + " of the answers cannot serve " + which + ": " +
                                 misfit);
            return EEnd::Unknown;
        }
        return EndOf(entry.answer);
    }

    static EEnd EndOf(const TPromptAnswer& answer)
    {
        const auto* const end = std::get_if<EPromptEnd>(&answer);
        if (!end || *end == EPromptEnd::Ok)
        {
            return EEnd::Passed;
        }
        return *end == EPromptEnd::Abort ? EEnd::Aborted : EEnd::Failed;
    }

    static SPrompt PromptOf(const pugi::xml_node& element)
    {
        SPrompt prompt;
        prompt.kind = KindOf(element.name());
        prompt.text = element.attribute("text").value();
        const auto [min, max] = CSetPopupNode::BoundsOf(element);
        prompt.min = min;
        prompt.max = max;
        return prompt;
    }

    std::string Entries() const { return std::to_string(m_Answers.met) + (m_Answers.met == 1 ? " entry" : " entries"); }

    CCheckedDocument m_Document;
    SAnswersAhead& m_Answers;
    std::map<const CNode*, bool> m_Matters; ///< whether a selected prompt, or a loop that fails, is in it
};
} // namespace

std::vector<SProblem> CheckAnswersAhead(const CDocumentSource& source, const std::vector<CNode*>& nodes,
                                        const std::vector<SNodeInfo>& infos, SAnswersAhead& answers)
{
    return CWalk(source, nodes, infos, answers).Go(*nodes.front());
}
