#pragma once

#include <libxml/tree.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tidyreel {

/// A non-owning handle to one element of an `XmlDocument`; cheap to copy, null when default-built.
class XmlElement {
public:
    /// Iterates the element children of one element in document order.
    class ChildIterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = XmlElement;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = XmlElement;

        ChildIterator() = default;
        explicit ChildIterator(xmlNodePtr node) : node_(node) {}
        XmlElement operator*() const { return XmlElement(node_); }
        ChildIterator& operator++();
        ChildIterator operator++(int);
        bool operator==(const ChildIterator&) const = default;

    private:
        xmlNodePtr node_ = nullptr;
    };

    /// The element children of one element, for range-for.
    struct ChildRange {
        xmlNodePtr first;
        ChildIterator begin() const { return ChildIterator(first); }
        ChildIterator end() const { return ChildIterator(); }
    };

    XmlElement() = default;
    explicit XmlElement(xmlNodePtr node) : node_(node) {}

    explicit operator bool() const { return node_ != nullptr; }
    bool operator==(const XmlElement&) const = default;
    /// The underlying libxml2 node.
    xmlNodePtr node() const { return node_; }

    /// The element's name, e.g. "asset-clip".
    std::string_view name() const;
    /// The attribute's value, or no value when it is missing.
    std::optional<std::string> attribute(const char* name) const;
    /// Whether the attribute is present.
    bool hasAttribute(const char* name) const;
    /// Calls `visit` with the name and value of every attribute in document order: one pass over the
    /// attributes, cheaper than several lookups when many of them are needed.
    void forEachAttribute(const std::function<void(std::string_view, std::string_view)>& visit) const;
    /// Sets (or adds) the attribute.
    void setAttribute(const char* name, const std::string& value);
    /// Removes the attribute when present.
    void removeAttribute(const char* name);

    /// The parent element, or null at the root.
    XmlElement parent() const;
    /// The element children in document order.
    ChildRange children() const;
    /// The first element child named `name`, or null.
    XmlElement firstChild(std::string_view name) const;
    /// The next element sibling, or null.
    XmlElement nextSibling() const;
    /// The previous element sibling, or null.
    XmlElement previousSibling() const;
    /// The concatenated text of all descendant text nodes.
    std::string textContent() const;

    /// Appends a new, empty element child named `name` and returns it.
    XmlElement appendChild(const char* name);
    /// Removes every element child named `name` with everything below it.
    void removeChildren(std::string_view name);
    /// Removes this element with everything below it from the document; the handle is null afterwards.
    void remove();
    /// Inserts a new, empty element named `name` right before `sibling` (a child of this element).
    XmlElement insertChildBefore(const char* name, XmlElement sibling);

private:
    xmlNodePtr node_ = nullptr;
};

/// An owning libxml2 document, shared between the tasks of one run.
class XmlDocument {
public:
    /// Parses untrusted bytes safely (no network, no external entities, no entity substitution);
    /// throws `Error` with the parser's message when the bytes are not well-formed XML.
    static std::shared_ptr<XmlDocument> parse(std::string_view bytes);
    /// Reads and parses a file; throws `Error` when it cannot be read or parsed.
    static std::shared_ptr<XmlDocument> load(const std::filesystem::path& file);

    ~XmlDocument();
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    /// The root element, or null for a document without one.
    XmlElement root() const;
    /// The elements an XPath 1.0 expression selects, evaluated at `context` (the document when null);
    /// throws `Error` (domain "XPath") when the expression is malformed or selects no node set.
    std::vector<XmlElement> xpath(const std::string& expression, XmlElement context = {}) const;
    /// The first element an XPath expression selects, or null.
    XmlElement first(const std::string& expression, XmlElement context = {}) const;
    /// The document as UTF-8 bytes; `pretty` re-indents the whole tree uniformly.
    std::string serialize(bool pretty);

    /// The underlying libxml2 document.
    xmlDocPtr raw() const { return doc_; }

private:
    explicit XmlDocument(xmlDocPtr doc) : doc_(doc) {}
    xmlDocPtr doc_;
};

/// Visits `root` and every element below it, depth first, children in document order. Iterative, so
/// that a deeply nested document cannot exhaust the stack; `visit` may change the visited element and
/// its children, since the next element is looked up only after the visit.
void forEachElement(XmlElement root, const std::function<void(XmlElement)>& visit);

/// The most bytes one document may have: libxml2 takes a document's length as an `int`.
inline constexpr std::uintmax_t kMaxDocumentBytes = 0x7FFFFFFF;

/// The whole content of a file as bytes, also from a pipe or FIFO; throws `Error` naming the file and
/// the system's reason, also for a device or more than `limit` bytes.
std::string readFileBytes(const std::filesystem::path& file, std::uintmax_t limit = kMaxDocumentBytes);

}  // namespace tidyreel
