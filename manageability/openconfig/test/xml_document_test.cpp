// Which texts are documents, and what is read of them.
#include "xml_document.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "rpc_error.hpp"

namespace ymap {
namespace {

/// "name{ns}[prefix|ns|name=value ...]'text'<text_ns>(children)", each part as far as there is one.
std::string shown(const XmlElement &element) {
  std::string text(element.name());
  if (!element.ns().empty()) text.append("{").append(element.ns()).append("}");
  for (const auto &attribute : element.attributes())
    text.append("[")
        .append(attribute.prefix)
        .append("|")
        .append(attribute.ns)
        .append("|")
        .append(attribute.name)
        .append("=")
        .append(attribute.value)
        .append("]");
  if (!element.text().empty()) text.append("'").append(element.text()).append("'");
  if (!element.text_ns().empty()) text.append("<").append(element.text_ns()).append(">");
  if (element.children().empty()) return text;
  text += "(";
  for (const auto &child : element.children()) text += shown(child) + " ";
  text.back() = ')';
  return text;
}

TEST(XmlDocument, IsReadAsItStands) {
  for (const auto &[text, expected] : std::vector<std::pair<std::string, std::string>>{
           {"<a/>", "a"},
           {"\xef\xbb\xbf<?xml version='1.0' encoding='latin1'?><a>\u00e4</a>", "a'\u00e4'"},
           {"\n\n<?xml version='1.0'?>\n<!-- b --><a/><!-- c --> ", "a"},
           {"<a> x <!-- y --><![CDATA[<z>]]>&amp;&#x41;\r\n</a>", "a' x <z>&A\n'"},
           {"<a xmlns='u'><b xmlns=''/><c/></a>", "a{u}(b c{u})"},
           {"<p:a xmlns:p='u' p:b='1' c='&quot;'/>", "a{u}[p|u|b=1][||c=\"]"},
           {"<a xml:lang='en'/>", "a[||xml:lang=en]"},
           {"<a xmlns:p='u'><b> p:w</b><b xmlns:p='v'>p:w</b><b>p:w</b><b>q:w</b><b>:w</b><b>w</b></a>",
            "a(b' p:w'<u> b'p:w'<v> b'p:w'<u> b'q:w' b':w' b'w')"},
           {"<a xmlns='u'>:w</a>", "a{u}':w'<u>"},
           {"<a> <b/> \n </a>", "a(b)"},
           {"<a>x<b/></a>", "a'x'(b)"},
       })
    EXPECT_EQ(shown(XmlDocument(text).root()), expected) << text;
}

struct Refused {
  std::string text;
  const char *tag;
  const char *message;  ///< a part of it
};

TEST(XmlDocument, WhatIsNoneIsToldWithItsLine) {
  const std::string attributes = [] {
    std::string text = "<r>";
    for (int element = 0; element < 300; ++element) {
      text += "<a";
      for (int at = 0; at < 200; ++at) text += " b" + std::to_string(at) + "=''";
      text += "/>";
    }
    return text + "</r>";
  }();
  const std::string many_elements(4 * kMostElements, ' ');
  for (const auto &[text, tag, message] : std::vector<Refused>{
           {"", "malformed-message", "is empty"},
           {" \n\t", "malformed-message", "is empty"},
           {"<!-- a -->", "malformed-message", "no element"},
           {"<a/>\n<b/>", "malformed-message", "several root elements"},
           {"<a/>x", "malformed-message", "not well-formed"},
           {"\n\n<a>\n</b>", "malformed-message", "mismatched tag. Line number 4."},
           {"<a><b>", "malformed-message", "element b has no end"},
           {"<a", "malformed-message", "not well-formed"},
           {"< a/>", "malformed-message", "not well-formed"},
           {"<a b='1'c='2'/>", "malformed-message", "not well-formed"},
           {"<a b='<'/>", "malformed-message", "not well-formed"},
           {"<a>]]></a>", "malformed-message", "not well-formed"},
           {"<a>&b;</a>", "malformed-message", "undefined entity"},
           {"<a>\x01</a>", "malformed-message", "not well-formed"},
           {"<a>\xff</a>", "malformed-message", "not well-formed"},
           {"<a>\xed\xa0\x80</a>", "malformed-message", "not well-formed"},
           {std::string("<a>\0</a>", 8), "malformed-message", "NUL character"},
           {"<a b='1' b='2'/>", "malformed-message", "duplicate attribute"},
           {"<a xmlns:p='u' xmlns:q='u' p:b='' q:b=''/>", "malformed-message", "duplicate attribute"},
           {"<p:a/>", "malformed-message", "unbound prefix"},
           {"<a xmlns:p=''/>", "malformed-message", "must not undeclare prefix"},
           {"<a xmlns:xml='u'/>", "malformed-message", "reserved prefix"},
           {"<a:b:c xmlns:a='u'/>", "malformed-message", "not well-formed"},
           {"<!DOCTYPE a><a/>", "malformed-message", "document type"},
           {"<a><!ENTITY b 'c'></a>", "malformed-message", "document type"},
           {attributes, "too-big", "50000 attributes"},
           {"<a " + std::string(kLongestTag, ' ') + "/>", "too-big", "longer than 65536"},
           {"<a b='" + std::string(kLongestTag, '>') + "'/>", "too-big", "longer than 65536"},
           {"<a xmlns:p='" + std::string(kLongestNamespace + 1, 'u') + "'/>", "too-big", "longer than 1024"},
           {"<a>" + std::string(kMostBreaks + 1, '\n') + "</a>", "too-big", "line breaks"},
           {std::string(kLargestDocument + 1, ' '), "too-big", "16 MiB"},
       }) {
    try {
      const XmlDocument document(text);
      ADD_FAILURE() << "taken: " << text.substr(0, 100);
    } catch (const RpcError &error) {
      EXPECT_EQ(error.fault().tag, tag) << text.substr(0, 100);
      EXPECT_NE(error.fault().message.find(message), std::string::npos)
          << text.substr(0, 100) << ": " << error.fault().message;
    }
  }
}

std::string nested(std::size_t levels) {
  std::string text;
  for (std::size_t at = 0; at < levels; ++at) text += "<a>";
  for (std::size_t at = 0; at < levels; ++at) text += "</a>";
  return text;
}

std::string siblings(std::size_t count) {
  std::string text = "<r>";
  for (std::size_t at = 1; at < count; ++at) text += "<a/>";
  return text + "</r>";
}

TEST(XmlDocument, LimitsAreTaken) {
  EXPECT_NO_THROW(XmlDocument{nested(kDeepestElement)});
  EXPECT_THROW(XmlDocument{nested(kDeepestElement + 1)}, RpcError);
  EXPECT_NO_THROW(XmlDocument{siblings(kMostElements)});
  EXPECT_THROW(XmlDocument{siblings(kMostElements + 1)}, RpcError);
  EXPECT_NO_THROW(XmlDocument{"<a>" + std::string(kMostBreaks, '\n') + "</a>"});
  EXPECT_NO_THROW(XmlDocument{"<a xmlns='" + std::string(kLongestNamespace, 'u') + "'/>"});
  // What stands in comments and the like are no tags.
  EXPECT_NO_THROW(XmlDocument{"<a><!--" + std::string(2 * kLongestTag, '<') + "--></a>"});
  EXPECT_NO_THROW(XmlDocument{"<a><![CDATA[" + std::string(2 * kLongestTag, '<') + "]]></a>"});
}

TEST(XmlDocument, TextBehindElementsLeavesTheRoot) {
  for (const auto &[text, name] :
       std::vector<std::pair<const char *, const char *>>{{"<a b='1'><c/>x</a>", "a"},
                                                          {"<a b='1'>x<c/> y</a>", "a"},
                                                          {"<a b='1'><d><c/><![CDATA[x]]></d></a>", "d"}}) {
    const XmlDocument document(text);
    ASSERT_EQ(document.root_attributes().size(), 1U);
    EXPECT_EQ(document.root_name(), "a");
    try {
      document.root();
      ADD_FAILURE() << text;
    } catch (const RpcError &error) {
      EXPECT_EQ(error.fault().tag, "bad-element");
      EXPECT_EQ(error.fault().bad_element, name) << text;
    }
  }
}

TEST(RpcErrors, NoneGrowsWithWhatItRefuses) {
  const std::string huge(1 << 20, 'x');
  const RpcError error({.tag = "invalid-value",
                        .message = "wrong: " + huge,
                        .path = "/m:a/b[c='" + huge + "']/d",
                        .bad_element = huge});
  EXPECT_LT(error.fault().message.size(), 300U);
  EXPECT_LT(error.fault().bad_element.size(), 300U);
  EXPECT_TRUE(error.fault().path.starts_with("/m:a/b[c='xxx"));
  EXPECT_TRUE(error.fault().path.ends_with("xxx... (cut, 1048576 bytes)']/d")) << error.fault().path;
  EXPECT_EQ(error.what(), error.fault().message);
}

}  // namespace
}  // namespace ymap
