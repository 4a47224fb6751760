#include "fcpxml/xml.h"

#include "base/error.h"
#include "base/error_codes.h"
#include "base/language.h"

#include <fmt/format.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace tidyreel {
namespace {

const xmlChar* xmlText(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

std::string_view textView(const xmlChar* text) {
    return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

xmlNodePtr nextElement(xmlNodePtr node) {
    while (node && node->type != XML_ELEMENT_NODE) {
        node = node->next;
    }
    return node;
}

bool isBlankText(xmlNodePtr node) {
    return node->type == XML_TEXT_NODE && xmlIsBlankNode(node);
}

bool holdsMixedContent(xmlNodePtr element) {
    const std::string_view name = textView(element->name);
    if (name == "text" || name == "text-style") {
        return true;
    }
    for (xmlNodePtr child = element->children; child; child = child->next) {
        if ((child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) &&
            !xmlIsBlankNode(child)) {
            return true;
        }
    }
    return false;
}

// Indentation text between elements is dropped so that the serializer can indent the whole
// tree uniformly, including elements added by a task. Text in mixed content stays untouched.
void dropIndentation(xmlNodePtr element) {
    const bool keepText = holdsMixedContent(element);
    xmlNodePtr child = element->children;
    while (child) {
        xmlNodePtr next = child->next;
        if (child->type == XML_ELEMENT_NODE) {
            dropIndentation(child);
        } else if (!keepText && isBlankText(child)) {
            xmlUnlinkNode(child);
            xmlFreeNode(child);
        }
        child = next;
    }
}

std::string parserMessage(const xmlError* error) {
    if (!error || !error->message) {
        return localized("unbekannter Fehler", "unknown error");
    }
    std::string message = error->message;
    while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) {
        message.pop_back();
    }
    return fmt::format("{} ({} {}, {} {})", message, localized("Zeile", "line"), error->line,
                       localized("Spalte", "column"), error->int2);
}

struct ParserContextDeleter {
    void operator()(xmlParserCtxtPtr context) const { xmlFreeParserCtxt(context); }
};

struct XPathContextDeleter {
    void operator()(xmlXPathContextPtr context) const { xmlXPathFreeContext(context); }
};

struct XPathObjectDeleter {
    void operator()(xmlXPathObjectPtr object) const { xmlXPathFreeObject(object); }
};

}  // namespace

XmlElement::ChildIterator& XmlElement::ChildIterator::operator++() {
    node_ = nextElement(node_->next);
    return *this;
}

XmlElement::ChildIterator XmlElement::ChildIterator::operator++(int) {
    ChildIterator previous = *this;
    ++*this;
    return previous;
}

std::string_view XmlElement::name() const {
    return textView(node_->name);
}

std::optional<std::string> XmlElement::attribute(const char* name) const {
    // A parsed attribute is usually one text node: copy it straight, without libxml2's own copy.
    const xmlAttrPtr found = xmlHasNsProp(node_, xmlText(name), nullptr);
    if (!found) {
        return std::nullopt;
    }
    const xmlNodePtr onlyText = found->type == XML_ATTRIBUTE_NODE ? found->children : nullptr;
    if (onlyText && !onlyText->next && onlyText->type == XML_TEXT_NODE && onlyText->content) {
        return std::string(reinterpret_cast<const char*>(onlyText->content));
    }
    xmlChar* value = xmlGetNoNsProp(node_, xmlText(name));
    if (!value) {
        return std::nullopt;
    }
    std::string text(reinterpret_cast<const char*>(value));
    xmlFree(value);
    return text;
}

void XmlElement::forEachAttribute(
    const std::function<void(std::string_view, std::string_view)>& visit) const {
    for (xmlAttrPtr attribute = node_->properties; attribute; attribute = attribute->next) {
        const xmlNodePtr onlyText = attribute->children;
        if (onlyText && !onlyText->next && onlyText->type == XML_TEXT_NODE && onlyText->content) {
            visit(textView(attribute->name), textView(onlyText->content));
            continue;
        }
        xmlChar* value = xmlNodeListGetString(node_->doc, attribute->children, 1);
        visit(textView(attribute->name), textView(value));
        xmlFree(value);
    }
}

bool XmlElement::hasAttribute(const char* name) const {
    return xmlHasNsProp(node_, xmlText(name), nullptr);
}

void XmlElement::setAttribute(const char* name, const std::string& value) {
    xmlSetProp(node_, xmlText(name), xmlText(value.c_str()));
}

void XmlElement::removeAttribute(const char* name) {
    if (xmlAttrPtr attribute = xmlHasNsProp(node_, xmlText(name), nullptr)) {
        xmlRemoveProp(attribute);
    }
}

XmlElement XmlElement::parent() const {
    xmlNodePtr parent = node_->parent;
    return XmlElement(parent && parent->type == XML_ELEMENT_NODE ? parent : nullptr);
}

XmlElement::ChildRange XmlElement::children() const {
    return ChildRange{nextElement(node_->children)};
}

XmlElement XmlElement::firstChild(std::string_view name) const {
    for (XmlElement child : children()) {
        if (child.name() == name) {
            return child;
        }
    }
    return XmlElement();
}

XmlElement XmlElement::nextSibling() const {
    return XmlElement(nextElement(node_->next));
}

XmlElement XmlElement::previousSibling() const {
    xmlNodePtr node = node_->prev;
    while (node && node->type != XML_ELEMENT_NODE) {
        node = node->prev;
    }
    return XmlElement(node);
}

std::string XmlElement::textContent() const {
    xmlChar* content = xmlNodeGetContent(node_);
    std::string text = content ? reinterpret_cast<const char*>(content) : "";
    xmlFree(content);
    return text;
}

XmlElement XmlElement::appendChild(const char* name) {
    return XmlElement(xmlNewChild(node_, nullptr, xmlText(name), nullptr));
}

void XmlElement::removeChildren(std::string_view name) {
    xmlNodePtr child = node_->children;
    while (child) {
        xmlNodePtr next = child->next;
        if (child->type == XML_ELEMENT_NODE && textView(child->name) == name) {
            xmlUnlinkNode(child);
            xmlFreeNode(child);
        }
        child = next;
    }
}

void XmlElement::remove() {
    xmlUnlinkNode(node_);
    xmlFreeNode(node_);
    node_ = nullptr;
}

XmlElement XmlElement::insertChildBefore(const char* name, XmlElement sibling) {
    xmlNodePtr element = xmlNewDocNode(node_->doc, nullptr, xmlText(name), nullptr);
    return XmlElement(xmlAddPrevSibling(sibling.node(), element));
}

std::shared_ptr<XmlDocument> XmlDocument::parse(std::string_view bytes) {
    std::unique_ptr<xmlParserCtxt, ParserContextDeleter> context(xmlNewParserCtxt());
    if (!context) {
        throw std::bad_alloc();
    }
    // No entity substitution, no DTD loading and no network: a hostile file can neither read
    // local files through external entities nor switch off the parser's expansion limits.
    const int options = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    if (bytes.size() > kMaxDocumentBytes) {
        throw Error(XmlParserError::domain, XmlParserError::tooLarge,
                    localized("Dokument größer als 2 GiB", "Document larger than 2 GiB"));
    }
    xmlDocPtr doc = xmlCtxtReadMemory(context.get(), bytes.data(), static_cast<int>(bytes.size()), nullptr,
                                      nullptr, options);
    if (!doc || !context->wellFormed) {
        const std::string message = parserMessage(xmlCtxtGetLastError(context.get()));
        xmlFreeDoc(doc);
        throw Error(XmlParserError::domain, XmlParserError::notWellFormed,
                    localized("Ungültiges XML: ", "Invalid XML: ") + message);
    }
    return std::shared_ptr<XmlDocument>(new XmlDocument(doc));
}

std::shared_ptr<XmlDocument> XmlDocument::load(const std::filesystem::path& file) {
    return parse(readFileBytes(file));
}

XmlDocument::~XmlDocument() {
    xmlFreeDoc(doc_);
}

XmlElement XmlDocument::root() const {
    return XmlElement(xmlDocGetRootElement(doc_));
}

std::vector<XmlElement> XmlDocument::xpath(const std::string& expression, XmlElement context) const {
    std::unique_ptr<xmlXPathContext, XPathContextDeleter> xpathContext(xmlXPathNewContext(doc_));
    if (context) {
        xpathContext->node = context.node();
    }
    // The failure becomes our error below; libxml2 would otherwise print it on standard error.
    xpathContext->error = [](void*, auto) {};
    std::unique_ptr<xmlXPathObject, XPathObjectDeleter> result(
        xmlXPathEvalExpression(xmlText(expression.c_str()), xpathContext.get()));
    if (!result || result->type != XPATH_NODESET) {
        throw Error(XPathError::domain, XPathError::malformedExpression,
                    localized("Ungültiger XPath-Ausdruck: ", "Invalid XPath expression: ") + expression);
    }
    std::vector<XmlElement> elements;
    if (result->nodesetval) {
        const xmlNodeSetPtr nodes = result->nodesetval;
        elements.reserve(static_cast<std::size_t>(nodes->nodeNr));
        for (int i = 0; i < nodes->nodeNr; ++i) {
            if (nodes->nodeTab[i]->type == XML_ELEMENT_NODE) {
                elements.emplace_back(nodes->nodeTab[i]);
            }
        }
    }
    return elements;
}

XmlElement XmlDocument::first(const std::string& expression, XmlElement context) const {
    const std::vector<XmlElement> elements = xpath(expression, context);
    return elements.empty() ? XmlElement() : elements.front();
}

std::string XmlDocument::serialize(bool pretty) {
    if (pretty && root()) {
        dropIndentation(root().node());
    }
    xmlChar* buffer = nullptr;
    int size = 0;
    xmlDocDumpFormatMemoryEnc(doc_, &buffer, &size, "UTF-8", pretty ? 1 : 0);
    std::string bytes(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(size));
    xmlFree(buffer);
    return bytes;
}

void forEachElement(XmlElement root, const std::function<void(XmlElement)>& visit) {
    if (!root) {
        return;
    }
    xmlNodePtr node = root.node();
    while (node) {
        visit(XmlElement(node));
        xmlNodePtr next = nextElement(node->children);
        while (!next && node != root.node()) {
            next = nextElement(node->next);
            if (!next) {
                node = node->parent;
            }
        }
        node = next;
    }
}

std::string readFileBytes(const std::filesystem::path& file, std::uintmax_t limit) {
    const auto fail = [&](int code, const std::string& reason) {
        return Error(
            FileSystemError::domain, code,
            fmt::format("{}: {} ({})", localized("Datei konnte nicht gelesen werden", "Could not read file"),
                        file.string(), reason));
    };
    const auto tooLarge = [&] {
        return fail(EFBIG, fmt::format("{} {} MiB", localized("größer als", "larger than"), limit >> 20));
    };
    std::error_code status;
    const std::filesystem::file_status type = std::filesystem::status(file, status);
    if (std::filesystem::is_directory(type)) {
        throw fail(EISDIR, std::strerror(EISDIR));
    }
    // A pipe or FIFO ("<(cat x)", /dev/stdin) is read as a stream; a device such as /dev/zero never ends.
    if (std::filesystem::is_character_file(type) || std::filesystem::is_block_file(type)) {
        throw fail(ENODEV, localized("keine Datei, sondern ein Gerät", "a device, not a file"));
    }
    if (std::filesystem::is_regular_file(type) && std::filesystem::file_size(file, status) > limit) {
        throw tooLarge();
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        const int code = errno ? errno : ENOENT;
        throw fail(code, std::strerror(code));
    }
    std::string bytes;
    std::vector<char> chunk(1 << 20);
    while (stream.read(chunk.data(), static_cast<std::streamsize>(chunk.size())) || stream.gcount() > 0) {
        if (bytes.size() + static_cast<std::size_t>(stream.gcount()) > limit) {
            throw tooLarge();
        }
        bytes.append(chunk.data(), static_cast<std::size_t>(stream.gcount()));
    }
    if (stream.bad()) {
        throw fail(EIO, std::strerror(EIO));
    }
    return bytes;
}

}  // namespace tidyreel
