#include <Orvanta/Element.h>

#include <Orvanta/VariableList.h>

#include <string>
#include <string_view>

CSafeString ElementText(const pugi::xml_node& element)
{
    std::string text;
    for (const pugi::xml_node& child : element.children())
    {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
        {
            text += child.value();
        }
    }
    return text;
}

bool AddDeclaration(CVariableList& list, const pugi::xml_node& declaration)
{
    const EDataType type = TypeNameToType(QString::fromUtf8(declaration.attribute("type").value()));
    const std::string_view element = declaration.name();
    const bool isDefine = element == "x:Define";
    if (!isDefine && element != "x:Local")
    {
        return false;
    }
    const char* name = declaration.attribute("name").value();
    const char* value = declaration.attribute("value").value();
    const QString config = QString::fromUtf8(declaration.attribute("ZKconfig").value());
    isDefine ? list.AddDefine(type, name, value, config) : list.AddLocal(type, name, value, config);
    return true;
}

pugi::xml_node AddDeclarations(CVariableList& list, const pugi::xml_node& variables)
{
    for (const pugi::xml_node& declaration : variables.children())
    {
        if (declaration.type() == pugi::node_element && !AddDeclaration(list, declaration))
        {
            return declaration;
        }
    }
    return {};
}
