#include <Session/CheckRules.h>
#include <Session/CheckedDocument.h>

#include <HostKit/ReadLibrary.h>
#include <Orvanta/FunctionNode.h>
#include <Orvanta/TestSuiteNode.h>

#include <algorithm>

namespace
{
std::string NotKnown(std::string_view type)
{
    std::vector<std::string> names;
    names.reserve(DATA_TYPES.size());
    for (const EDataType known : DATA_TYPES)
    {
        names.emplace_back(TypeToTypeName(known).c_str());
    }
    return Meant(type, names);
}

/// What was tried, a line for each folder, as one line.
std::string Joined(std::string diagnostic)
{
    for (std::size_t end = 0; (end = diagnostic.find('\n', end)) != std::string::npos;)
    {
        diagnostic.replace(end, 1, "; ");
    }
    return diagnostic;
}
} // namespace

void FindUnknownDeclaredTypes(CCheckedDocument& document)
{
    for (const SDeclaration& declaration : document.Declarations())
    {
        const std::string type = declaration.element.attribute("type").value();
        if (!declaration.type)
        {
            document.Error(declaration.element, "Invalid variable type: " + type + '.' + NotKnown(type));
        }
    }
}

void FindUnknownParameterTypes(CCheckedDocument& document)
{
    FindUnknownDeclaredTypes(document);
    for (const pugi::xml_node& parameter : document.Elements({"x:Parameter"}))
    {
        const std::string type = parameter.attribute("type").value();
        if (!KnownType(type))
        {
            document.Error(parameter,
                           (type.empty() ? "the parameter has no type" : Quoted(type) + " is no type") +
                               ", so the function gets 0" + NotKnown(type));
        }
    }
}

void FindTooManyParameters(CCheckedDocument& document)
{
    for (const pugi::xml_node& function : document.Elements({"x:Function"}))
    {
        const auto parameters = function.children("x:Parameter");
        const auto count = static_cast<std::size_t>(std::distance(parameters.begin(), parameters.end()));
        if (count > CFunctionNode::MAX_CALL_PARAMETERS)
        {
            document.Error(function,
                           Quoted(function.attribute("name").value()) + " has " + std::to_string(count) +
                               " parameters; a call takes " + std::to_string(CFunctionNode::MAX_CALL_PARAMETERS) +
                               " at the most");
        }
    }
}

void FindMissingLibrary(CCheckedDocument& document)
{
    const CReadLibrary* const library = document.Library();
    if (library && !library->IsLoaded())
    {
        document.Error(document.Root(),
                       "the test library " + Quoted(CTestSuiteNode::LibraryName(document.Root())) +
                           " cannot be opened: " + Joined(library->GetDiagnostic().c_str()));
    }
    else if (!library && !document.Elements({"x:Function"}).empty())
    {
        document.Error(document.Root(), "the suite calls functions and names no test library; give it a \"library\"");
    }
}

void FindMissingFunctions(CCheckedDocument& document)
{
    const CReadLibrary* const library = document.Library();
    if (!library || !library->IsLoaded())
    {
        return; // one problem says it all
    }
    for (const pugi::xml_node& function : document.Elements({"x:Function"}))
    {
        const std::string name = function.attribute("name").value();
        if (!library->GetFunction(name))
        {
            document.Error(function,
                           name.empty()
                               ? "the function has no name"
                               : "the test library exports no function " + Quoted(name) + document.MeantFunction(name));
        }
    }
}
