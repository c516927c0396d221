#pragma once
// One XML settings document (settings.xml, appinfo.xml and the like) with a named root element,
// read whole and written atomically. TinyXML stays inside; callers get the root as TiXmlElement*.
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

class TiXmlElement;

namespace KELCTRL {

// How a settings file is stored. Only the plain form exists in this build: the enciphered form of the
// other editions cannot be read, and a document asked to be stored enciphered is written plain.
enum SETTINGS_FORM { SETTINGS_FORM_PLAIN = 0, SETTINGS_FORM_ENCIPHERED = 1 };

class CXmlSettingsFile {
public:
    CXmlSettingsFile();
    virtual ~CXmlSettingsFile();
    CXmlSettingsFile(const CXmlSettingsFile&) = delete;
    CXmlSettingsFile& operator=(const CXmlSettingsFile&) = delete;

    // Parses plain XML text whose root element must be called rootName. Returns 1 on success; 0 for
    // malformed XML, another root, or nesting deeper than kMaxDepth, with the reason in LastError().
    int Parse(std::string_view text, const char* rootName);
    // Reads a file in the given form. Missing, unreadable, larger than kMaxFileBytes, or failing
    // Parse: 0, and the document is left empty.
    int Load(const std::filesystem::path& path, const char* rootName, int form);
    // Tries the product's form first and the other form after it, so that one edition reads a file
    // written by another.
    int LoadEitherForm(const std::filesystem::path& path, const char* rootName, int productForm);

    // Starts a new document: an XML declaration and an empty root element.
    TiXmlElement* CreateRoot(const char* rootName);
    // The root element; null before a successful Parse, Load or CreateRoot.
    TiXmlElement* Root() const;

    // The document as UTF-8 text.
    std::string Print() const;
    // Writes the document atomically. Returns 1 on success; on failure 0, and the old file is unchanged.
    int Save(const std::filesystem::path& path, int form);

    const std::string& LastError() const { return m_error; }

    static constexpr std::uintmax_t kMaxFileBytes = 16u << 20;
    // TinyXML parses nested elements recursively; a hostile file must not exhaust the stack.
    static constexpr int kMaxDepth = 256;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
    std::string m_error;
};

// An upper bound of the element nesting depth of XML text, found without parsing it.
int XmlNestingBound(std::string_view text);

} // namespace KELCTRL
