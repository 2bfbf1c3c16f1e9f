#pragma once

#include <string>

#include <pugixml.hpp>

namespace korv {

/// An element of an OFD file. Every element carries the prefix, no attribute does
/// (GB/T 33190-2016; some readers go by the prefix and not by the namespace).
class OfdElement
{
public:
    explicit OfdElement(pugi::xml_node node)
        : m_node(node)
    {
    }

    /// Appends an element and returns it.
    OfdElement child(const std::string &name);
    /// Appends an element that holds a text; returns this one.
    OfdElement &text(const std::string &name, const std::string &text);
    /// The one that was appended last.
    OfdElement lastChild() const { return OfdElement(m_node.last_child()); }
    OfdElement &attribute(const char *name, const std::string &value);
    OfdElement &attribute(const char *name, unsigned value);

private:
    pugi::xml_node m_node;
};

/// One XML file of an OFD package.
class OfdXml
{
public:
    explicit OfdXml(const std::string &rootName);

    OfdElement &root() { return m_root; }
    /// UTF-8 with a declaration, without a byte order mark.
    std::string text() const;

private:
    pugi::xml_document m_document;
    OfdElement m_root;
};

} // namespace korv
