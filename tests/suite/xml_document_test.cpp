#include "pelora/xml.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using Failure = VxXMLDocument::Failure;

TEST(XmlDocument, WalksElementsByName) {
    VxXMLDocument document;
    ASSERT_TRUE(document.Parse(
        "<?xml version='1.0'?>\n<!-- c -->\n<root>\n <a> 1 </a><b/>\n <a><!-- c -->\n  two<b>x</b> tail</a>\n"
        " <手机>\xD0\x9F &amp; &lt;&#x41;</手机><d><![CDATA[<raw>]]></d></root>"));
    const VxXmlElement root = document.RootElement();
    EXPECT_STREQ(root.Name(), "root");
    EXPECT_EQ(root.Line(), 3);
    const VxXmlElement first = root.FirstNode("a");
    EXPECT_EQ(first.Value(), "1");
    const VxXmlElement second = first.NextSiblingElement("a");
    EXPECT_EQ(second.Value(), "two");
    EXPECT_EQ(second.Line(), 5);
    EXPECT_TRUE(second.NextSiblingElement("a").IsElementNull());
    EXPECT_STREQ(root.FirstNode().NextSiblingElement().Name(), "b");
    EXPECT_EQ(root.FirstNode("b").Value(), "");
    EXPECT_EQ(root.FirstNode("手机").Value(), "\xD0\x9F & <A");
    EXPECT_EQ(root.FirstNode("d").Value(), "<raw>");
    const VxXmlElement none = root.FirstNode("missing");
    EXPECT_TRUE(none.IsElementNull());
    EXPECT_TRUE(none.FirstNode("x").NextSiblingElement("y").IsElementNull());
    EXPECT_EQ(none.Value(), "");
    EXPECT_STREQ(none.Name(), "");
    EXPECT_EQ(none.Line(), 0);
}

TEST(XmlDocument, RefusesWhatIsNotXmlAndStaysUsable) {
    std::string nested;
    for (int i = 0; i < 100'000; ++i) nested += "<a>";
    std::string closed = nested;
    for (int i = 0; i < 100'000; ++i) closed += "</a>";
    VxXMLDocument document;
    const std::string bad[] = {"",
                               " \n ",
                               "text",
                               "<a>",
                               "<a></b>",
                               "<!-- only -->",
                               std::string("<a/>\0<b/>", 9),
                               std::string("\xFF\xFE<\0a\0", 6),
                               nested,
                               closed};
    for (const std::string& text : bad) {
        EXPECT_FALSE(document.Parse(text)) << text.substr(0, 20);
        EXPECT_EQ(document.LastFailure(), Failure::kMalformed);
        EXPECT_FALSE(document.ErrorText().empty());
        EXPECT_TRUE(document.RootElement().IsElementNull());
    }
    EXPECT_FALSE(document.Parse("<a>\n<b>\n</c></a>"));
    EXPECT_EQ(document.ErrorLine(), 2);  // where the element begins that is closed wrongly
    EXPECT_FALSE(document.Parse(std::string(VxXMLDocument::kLargestFile + 1, ' ')));
    EXPECT_EQ(document.LastFailure(), Failure::kTooLarge);
    EXPECT_TRUE(document.Parse("\xEF\xBB\xBF<a/>"));
    EXPECT_EQ(document.LastFailure(), Failure::kNone);
    EXPECT_EQ(document.ErrorText(), "");
}

}  // namespace
