#include "library/documents/pdf/xmp.h"

#include "library/documents/xml_text.h"
#include "library/values/dates.h"
#include "library/values/utf8.h"

namespace korv {

namespace {

std::string escaped(const std::string &utf8)
{
    pugi::xml_document text;
    xmlAnswer(xmlAnswer(text.append_child(pugi::node_pcdata)).set_value(cleanUtf8(utf8).c_str()));
    return xmlText(text);
}

/// RFC 4122's way to write 16 bytes.
std::string uuid(const std::string &hex)
{
    return "uuid:" + hex.substr(0, 8) + "-" + hex.substr(8, 4) + "-" + hex.substr(12, 4) + "-"
        + hex.substr(16, 4) + "-" + hex.substr(20);
}

/// Replaces the text of the first element of that name; without one nothing changes.
void setElement(std::string &packet, const std::string &name, const std::string &text)
{
    const std::string begin = "<" + name + ">";
    const std::size_t start = packet.find(begin);
    const std::size_t end = packet.find("</" + name + ">");
    if (start != std::string::npos && end != std::string::npos && start < end)
        packet.replace(start + begin.size(), end - start - begin.size(), text);
}

} // namespace

std::string xmpPacket(const XmpProperties &properties)
{
    const std::string date = isoDate(properties.created);
    std::string packet = "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
                         "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
                         "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
                         "<rdf:Description rdf:about=\"\""
                         " xmlns:pdfaid=\"http://www.aiim.org/pdfa/ns/id/\""
                         " xmlns:dc=\"http://purl.org/dc/elements/1.1/\""
                         " xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\""
                         " xmlns:xmpMM=\"http://ns.adobe.com/xap/1.0/mm/\""
                         " xmlns:pdf=\"http://ns.adobe.com/pdf/1.3/\">\n"
                         "<pdfaid:part>2</pdfaid:part>\n"
                         "<pdfaid:conformance>";
    packet += properties.conformance == PdfConformance::U ? "U" : "B";
    packet += "</pdfaid:conformance>\n"
              "<dc:format>application/pdf</dc:format>\n";
    if (!properties.title.empty())
        packet += "<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">" + escaped(properties.title)
            + "</rdf:li></rdf:Alt></dc:title>\n";
    packet += "<xmp:CreateDate>" + date + "</xmp:CreateDate>\n<xmp:ModifyDate>" + date
        + "</xmp:ModifyDate>\n<xmp:MetadataDate>" + date + "</xmp:MetadataDate>\n"
        + "<xmpMM:DocumentID>" + uuid(properties.documentId) + "</xmpMM:DocumentID>\n"
        + "<pdf:Producer>" + escaped(properties.producer) + "</pdf:Producer>\n"
        + "</rdf:Description>\n</rdf:RDF>\n</x:xmpmeta>\n<?xpacket end=\"r\"?>";
    return packet;
}

std::string xmpPacketWithText(std::string packet, std::time_t changed)
{
    setElement(packet, "pdfaid:conformance", "U");
    const std::string date = isoDate(changed);
    setElement(packet, "xmp:ModifyDate", date);
    setElement(packet, "xmp:MetadataDate", date);
    return packet;
}

} // namespace korv
