#include "SchemaModel.h"

#include <QString>

#include <xercesc/framework/psvi/XSAttributeDeclaration.hpp>
#include <xercesc/framework/psvi/XSAttributeUse.hpp>
#include <xercesc/framework/psvi/XSComplexTypeDefinition.hpp>
#include <xercesc/framework/psvi/XSElementDeclaration.hpp>
#include <xercesc/framework/psvi/XSModelGroup.hpp>
#include <xercesc/framework/psvi/XSNamedMap.hpp>
#include <xercesc/framework/psvi/XSParticle.hpp>

#include <utility>

namespace xerces = XERCES_CPP_NAMESPACE;

namespace
{
std::string Utf8(const XMLCh* text)
{
    return QString::fromUtf16(text).toStdString();
}

std::string NameOf(xerces::XSElementDeclaration& element)
{
    return "x:" + Utf8(element.getName());
}

/// The state machine of one content model while it is built. Some of its steps need no child; `Finish` removes them.
/// Wildcards and xs:all are left out: the schemas have none.
class CContentBuilder
{
public:
    /// Adds what a particle allows behind a state; gives the state behind it.
    std::size_t Append(xerces::XSParticle& particle, std::size_t from)
    {
        for (XMLSize_t i = 0; i < particle.getMinOccurs(); ++i)
        {
            from = AppendOnce(particle, from);
        }
        if (particle.getMaxOccursUnbounded())
        {
            const std::size_t again = NewState();
            m_States[from].free.push_back(again);
            m_States[AppendOnce(particle, again)].free.push_back(again);
            return again;
        }
        const std::size_t end = NewState();
        for (XMLSize_t i = particle.getMinOccurs(); i < particle.getMaxOccurs(); ++i)
        {
            m_States[from].free.push_back(end);
            from = AppendOnce(particle, from);
        }
        m_States[from].free.push_back(end);
        return end;
    }

    std::size_t NewState()
    {
        m_States.emplace_back();
        return m_States.size() - 1;
    }

    /// The finished machine from one state to another.
    std::vector<SContentModel::SState> Finish(std::size_t begin, std::size_t end) const
    {
        std::vector<SContentModel::SState> finished;
        std::vector<std::set<std::size_t>> sets{Closed({begin})};
        for (std::size_t at = 0; at < sets.size(); ++at)
        {
            SContentModel::SState state{{}, sets[at].count(end) != 0, {}};
            for (const auto& [name, targets] : Steps(sets[at]))
            {
                const std::set<std::size_t> target = Closed(targets);
                const auto found = std::find(sets.begin(), sets.end(), target);
                state.next.emplace(name, static_cast<std::size_t>(found - sets.begin()));
                if (found == sets.end())
                {
                    sets.push_back(target);
                }
            }
            finished.push_back(std::move(state));
        }
        FindExpected(finished);
        return finished;
    }

    const std::map<std::string, xerces::XSTypeDefinition*>& Children() const { return m_Children; }

private:
    struct SState
    {
        std::vector<std::size_t> free; ///< reached without a child
        std::vector<std::pair<std::string, std::size_t>> steps;
    };

    std::size_t AppendOnce(xerces::XSParticle& particle, std::size_t from)
    {
        if (particle.getTermType() == xerces::XSParticle::TERM_ELEMENT)
        {
            xerces::XSElementDeclaration& element = *particle.getElementTerm();
            const std::size_t end = NewState();
            m_States[from].steps.emplace_back(NameOf(element), end);
            m_Children.emplace(NameOf(element), element.getTypeDefinition());
            return end;
        }
        return particle.getTermType() == xerces::XSParticle::TERM_MODELGROUP
            ? AppendGroup(*particle.getModelGroupTerm(), from)
            : from;
    }

    std::size_t AppendGroup(xerces::XSModelGroup& group, std::size_t from)
    {
        xerces::XSParticleList& parts = *group.getParticles();
        const bool isChoice = group.getCompositor() == xerces::XSModelGroup::COMPOSITOR_CHOICE;
        const std::size_t end = isChoice ? NewState() : 0;
        for (XMLSize_t i = 0; i < parts.size(); ++i)
        {
            const std::size_t behind = Append(*parts.elementAt(i), from);
            if (isChoice)
            {
                m_States[behind].free.push_back(end);
            }
            else
            {
                from = behind;
            }
        }
        return isChoice ? end : from;
    }

    static void FindExpected(std::vector<SContentModel::SState>& states)
    {
        const auto allowsTheSame = [](const SContentModel::SState& left, const SContentModel::SState& right)
        {
            return left.isComplete == right.isComplete &&
                std::equal(left.next.begin(), left.next.end(), right.next.begin(), right.next.end(),
                           [](const auto& one, const auto& other) { return one.first == other.first; });
        };
        for (SContentModel::SState& state : states)
        {
            for (const auto& [name, target] : state.next)
            {
                if (!allowsTheSame(state, states[target]))
                {
                    state.expected.push_back(name);
                }
            }
        }
    }

    std::set<std::size_t> Closed(std::set<std::size_t> states) const
    {
        std::vector<std::size_t> open(states.begin(), states.end());
        while (!open.empty())
        {
            const std::size_t state = open.back();
            open.pop_back();
            for (const std::size_t next : m_States[state].free)
            {
                if (states.insert(next).second)
                {
                    open.push_back(next);
                }
            }
        }
        return states;
    }

    std::map<std::string, std::set<std::size_t>> Steps(const std::set<std::size_t>& states) const
    {
        std::map<std::string, std::set<std::size_t>> steps;
        for (const std::size_t state : states)
        {
            for (const auto& [name, target] : m_States[state].steps)
            {
                steps[name].insert(target);
            }
        }
        return steps;
    }

    std::deque<SState> m_States;
    std::map<std::string, xerces::XSTypeDefinition*> m_Children;
};
} // namespace

CSchemaModel::CSchemaModel(xerces::XSModel& model)
{
    xerces::XSNamedMap<xerces::XSObject>& roots = *model.getComponents(xerces::XSConstants::ELEMENT_DECLARATION);
    for (XMLSize_t i = 0; i < roots.getLength(); ++i)
    {
        auto& root = static_cast<xerces::XSElementDeclaration&>(*roots.item(i));
        m_Roots.emplace(NameOf(root), Add(NameOf(root), *root.getTypeDefinition()));
    }
    for (const auto& [name, content] : m_ByName)
    {
        m_Parents.try_emplace(name);
        for (const auto& [child, childContent] : content->children)
        {
            m_Parents[child].insert(name);
        }
    }
}

const SContentModel* CSchemaModel::Find(const std::string& name) const
{
    const auto found = m_ByName.find(name);
    return found == m_ByName.end() ? nullptr : found->second;
}

const SContentModel* CSchemaModel::Add(const std::string& name, xerces::XSTypeDefinition& type)
{
    const auto [known, isNew] = m_ByType.emplace(&type, nullptr);
    if (isNew)
    {
        known->second = &m_Models.emplace_back();
    }
    SContentModel& model = *known->second;
    m_ByName.emplace(name, &model);
    if (isNew)
    {
        Fill(model, type);
    }
    return &model;
}

void CSchemaModel::Fill(SContentModel& model, xerces::XSTypeDefinition& type)
{
    CContentBuilder builder;
    const std::size_t begin = builder.NewState();
    std::size_t end = begin;
    if (type.getTypeCategory() == xerces::XSTypeDefinition::COMPLEX_TYPE)
    {
        auto& complex = static_cast<xerces::XSComplexTypeDefinition&>(type);
        xerces::XSAttributeUseList* const attributes = complex.getAttributeUses();
        for (XMLSize_t i = 0; attributes && i < attributes->size(); ++i)
        {
            const xerces::XSAttributeUse& use = *attributes->elementAt(i);
            model.attributes.emplace(Utf8(use.getAttrDeclaration()->getName()), use.getRequired());
        }
        end = complex.getParticle() ? builder.Append(*complex.getParticle(), begin) : begin;
    }
    model.states = builder.Finish(begin, end);
    for (const auto& [child, childType] : builder.Children())
    {
        model.children.emplace(child, Add(child, *childType));
    }
}
