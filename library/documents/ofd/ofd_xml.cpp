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
    return OfdElement(xmlAnswer(m_node.append_child(prefixed(name).c_str())));
}

OfdElement &OfdElement::text(const std::string &name, const std::string &text)
{
    pugi::xml_node node = xmlAnswer(m_node.append_child(prefixed(name).c_str()));
    xmlAnswer(node.text().set(cleanUtf8(text).c_str()));
    return *this;
}

OfdElement &OfdElement::attribute(const char *name, const std::string &value)
{
    xmlAnswer(xmlAnswer(m_node.append_attribute(name)).set_value(cleanUtf8(value).c_str()));
    return *this;
}

OfdElement &OfdElement::attribute(const char *name, unsigned value)
{
    xmlAnswer(xmlAnswer(m_node.append_attribute(name)).set_value(value));
    return *this;
}

OfdXml::OfdXml(const std::string &rootName)
    : m_root(pugi::xml_node())
{
    OfdElement declaration(xmlAnswer(m_document.append_child(pugi::node_declaration)));
    declaration.attribute("version", "1.0").attribute("encoding", "UTF-8");
    m_root = OfdElement(xmlAnswer(m_document.append_child(prefixed(rootName).c_str())));
    m_root.attribute("xmlns:ofd", kNamespace);
}

std::string OfdXml::text() const
{
    return xmlText(m_document);
}

} // namespace korv
