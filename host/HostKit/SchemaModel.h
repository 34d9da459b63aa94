#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <xercesc/framework/psvi/XSModel.hpp>

/// What may stand in an element: its attributes, and its child elements as a state machine that begins in state 0.
struct SContentModel
{
    struct SState
    {
        std::map<std::string, std::size_t> next; ///< by the child's name
        bool isComplete = false;                 ///< the content may end here
        /// The children of `next` after which not the same is allowed as before them.
        std::vector<std::string> expected;
    };

    std::map<std::string, bool> attributes; ///< by name: whether it is required
    std::vector<SState> states;
    std::map<std::string, const SContentModel*> children;
};

/// The elements of a compiled schema, named with the prefix "x". A validator only says that content is wrong; with this
/// it can be said what would be right.
class CSchemaModel
{
public:
    explicit CSchemaModel(xercesc::XSModel& model);

    /// The elements that may be a document's root.
    const std::map<std::string, const SContentModel*>& Roots() const { return m_Roots; }
    /// Every element's name, with the names of the elements that it may stand in.
    const std::map<std::string, std::set<std::string>>& Parents() const { return m_Parents; }
    /// What may stand in an element of this name, wherever that one stands; null for an unknown name.
    const SContentModel* Find(const std::string& name) const;

private:
    const SContentModel* Add(const std::string& name, xercesc::XSTypeDefinition& type);
    void Fill(SContentModel& model, xercesc::XSTypeDefinition& type);

    std::deque<SContentModel> m_Models;
    std::map<const xercesc::XSTypeDefinition*, SContentModel*> m_ByType;
    std::map<std::string, const SContentModel*> m_ByName;
    std::map<std::string, const SContentModel*> m_Roots;
    std::map<std::string, std::set<std::string>> m_Parents;
};
