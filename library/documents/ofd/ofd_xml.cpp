#include "library/documents/ofd/ofd_xml.h"

#include "library/documents/xml_text.h"
#include "library/values/utf8.h"

namespace korv {

namespace {

constexpr char kNamespace[] = "http://www.ofdspec.org/2016";

std::string prefixed(const std::string &name)
{
    return "ofd:" + name;
}

} // namespace

OfdElement OfdElement::child(const std::string &name)
{
    return OfdElement(m_node.append_child(prefixed(name).c_str()));
}

OfdElement &OfdElement::text(const std::string &name, const std::string &text)
{
    m_node.append_child(prefixed(name).c_str()).text().set(cleanUtf8(text).c_str());
    return *this;
}

OfdElement &OfdElement::attribute(const char *name, const std::string &value)
{
    m_node.append_attribute(name).set_value(cleanUtf8(value).c_str());
    return *this;
}

OfdElement &OfdElement::attribute(const char *name, unsigned value)
{
    m_node.append_attribute(name).set_value(value);
    return *this;
}

OfdXml::OfdXml(const std::string &rootName)
    : m_root(pugi::xml_node())
{
    pugi::xml_node declaration = m_document.append_child(pugi::node_declaration);
    declaration.append_attribute("version").set_value("1.0");
    declaration.append_attribute("encoding").set_value("UTF-8");
    pugi::xml_node node = m_document.append_child(prefixed(rootName).c_str());
    node.append_attribute("xmlns:ofd").set_value(kNamespace);
    m_root = OfdElement(node);
}

std::string OfdXml::text() const
{
    return xmlText(m_document);
}

} // namespace korv
