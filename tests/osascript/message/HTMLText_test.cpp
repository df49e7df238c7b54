#include "osascript/message/HTMLText.hpp"

#include "osascript/message/HTMLNesting.hpp"

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace velmiro::osascript {
namespace {

using namespace std::string_view_literals;

struct Case {
    std::string_view html;
    std::string_view text;
};

void PrintTo(const Case& one, std::ostream* out) {
    *out << one.html;
}

class Document : public testing::TestWithParam<Case> {};

TEST_P(Document, ReadsAsText) {
    EXPECT_EQ(htmlText(GetParam().html), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, Document,
    testing::Values(Case{"", ""}, Case{"plain", "plain"}, Case{" a \n\t b ", "a b"},
                    Case{"<p>a</p><p>b</p>", "a\n\nb"}, Case{"<p>a<p>b", "a\n\nb"},
                    Case{"<div>a</div><div>b</div>", "a\nb"}, Case{"a<div>b</div>c", "a\nb\nc"},
                    Case{"<div><div><p>a</p></div></div><div>b</div>", "a\n\nb"},
                    Case{"<p>a</p><div></div><p></p><p>b</p>", "a\n\nb"},
                    Case{"a<br>b<br><br>c", "a\nb\n\nc"}, Case{"<p>a<br></p><p>b</p>", "a\n\nb"},
                    Case{"<div>a</div><div><br></div><div>b</div>", "a\n\nb"},
                    Case{"<p>a</p><p>&nbsp;</p><p>b</p>", "a\n\n\u00A0\n\nb"},
                    Case{"<h1>Title</h1>text<h4>Part</h4>", "Title\n\ntext\n\nPart"},
                    Case{"a<hr>b", "a\n\n----------------------------------------\n\nb"},
                    Case{"<center>a</center>b", "a\nb"}, Case{"<dl><dt>a<dd>b</dl>", "a\nb"}));

INSTANTIATE_TEST_SUITE_P(
    Inline, Document,
    testing::Values(Case{"wo<b>r</b>d <i> x </i> y", "word x y"}, Case{"a<span> </span>b", "a b"},
                    Case{"&lt;b&gt; &amp;amp; &rsquo;&zwnj;&#8364;&#x20AC;&check;",
                         "<b> &amp; ’\u200C€€✓"},
                    Case{"long\u200Bword", "longword"}, Case{"a<wbr>b", "ab"},
                    Case{"<b>bold <i>both</b> italic</i> end", "bold both italic end"},
                    Case{"a <img src=x alt=y> b", "a b"}, Case{"<o:p>x</o:p>", "x"}));

INSTANTIATE_TEST_SUITE_P(
    Links, Document,
    testing::Values(Case{"<a href='https://e.org/7'>See it</a>.", "See it [https://e.org/7]."},
                    Case{"<a href='https://e.org'>https://e.org</a>", "https://e.org"},
                    Case{"<li><a href='https://e.org'> https://e.org </a>", "https://e.org"},
                    Case{"<a href='mailto:a@b.c'>a@b.c</a>", "a@b.c"},
                    Case{"<a href='mailto:a@b.c'>Ann</a>", "Ann [a@b.c]"},
                    Case{"<a href='#top'>Top</a> <a name=x>here</a> <a href=''>e</a>",
                         "Top here e"},
                    Case{"x<a href='https://e.org/'><img src=x></a>y", "x https://e.org/ y"},
                    Case{"<a href=' https://e.org/\n a '>b</a>", "b [https://e.org/a]"},
                    Case{"<a href='h:x'><div>a</div></a>b", "a [h:x]\nb"},
                    Case{"<a href='h:x'>a </a>b", "a [h:x] b"},
                    Case{"<a href='h:x'>a<a href='h:y'>b</a>", "a [h:x]b [h:y]"}));

INSTANTIATE_TEST_SUITE_P(
    Lists, Document,
    testing::Values(Case{"<ul><li>a</li><li>b</li></ul>c", " * a\n * b\n\nc"},
                    Case{"a<ul><li>b<ul><li>c</ul><li>d</ul>", "a\n\n * b\n   * c\n * d"},
                    Case{"<ol start=9><li>a<li>b</ol>", " 9.  a\n 10. b"},
                    Case{"<ol type=a start=26><li>x<li>y</ol>", " z.  x\n aa. y"},
                    Case{"<ol type=A><li>x</ol>", " A. x"}, Case{"<ol start=x><li>a</ol>", " 1. a"},
                    Case{"<ul><li>a<br>b<p>c</ul>", " * a\n   b\n\n   c"}, Case{"<ul></ul>a", "a"},
                    Case{"<ol><li><li>b</ol>", " 2. b"}, Case{"<ul>a<div>b</div></ul>", "a\nb"}));

INSTANTIATE_TEST_SUITE_P(
    Quotes, Document,
    testing::Values(Case{"<blockquote>a<p>b</p></blockquote>c", "> a\n>\n> b\n\nc"},
                    Case{"<blockquote>a<blockquote>b</blockquote>c</blockquote>",
                         "> a\n>\n> > b\n>\n> c"},
                    Case{"<blockquote><ul><li>a</ul></blockquote>", ">  * a"},
                    Case{"<pre>a\n  b  c\n\n<b>d</b></pre>e", "a\n  b  c\n\nd\n\ne"},
                    Case{"<blockquote><pre> x\n y</pre></blockquote>", ">  x\n>  y"}));

INSTANTIATE_TEST_SUITE_P(
    Tables, Document,
    testing::Values(Case{"<table><tr><th>a<th>b<tr><td>1<td>2</table>", "a b\n1 2"},
                    Case{"<table><tr><td><table><tr><td>in</table><td>x</table>", "in\n\nx"},
                    Case{"<table>stray<tr><td>a</table>", "stray\n\na"}));

INSTANTIATE_TEST_SUITE_P(
    Hidden, Document,
    testing::Values(Case{"<head><title>T</title><style>p{}</style></head><body>a", "a"},
                    Case{"<title>T</title>a", "a"},
                    Case{"a<script>if (a<b) x('</p>')</script><style>p{}</style>b", "ab"},
                    Case{"a<!-- <p>b</p> -->c<!---->d<!-->e", "acde"},
                    Case{"<!--[if mso]><p>office</p><![endif]-->a<![if !mso]>b<![endif]>", "ab"},
                    Case{"<div style='display:none'>preheader</div>a", "a"},
                    Case{"<p STYLE='Color: red; DISPLAY : None !Important'><b>x</b></p>a", "a"},
                    Case{"<p style='display:none!important;display:block'>x</p>a", "a"},
                    Case{"<p style='visibility: hidden'>x</p>a", "a"},
                    Case{"<table><tr hidden><td>x</td></tr><tr><td>a</td></tr></table>", "a"},
                    Case{"<ul><li>a<li hidden>x<li>b</ul>", " * a\n * b"},
                    Case{"<body style='display:none'>x", ""},
                    Case{"<p style='display:none;display:block'>a</p>", "a"},
                    Case{"<p style='display'>a</p><p style=':none'>b</p>", "a\n\nb"},
                    Case{"<p style='x-display:none;display:nonesuch'>a</p>", "a"},
                    Case{"<template>x</template>a<iframe>y</iframe>", "a"},
                    Case{"a<svg><path d='M0'/></svg>b", "ab"},
                    Case{"<xml><w:x></w:x></xml>a", "a"}));

INSTANTIATE_TEST_SUITE_P(Damaged, Document,
                         testing::Values(Case{"<p", ""}, Case{"a<", "a<"},
                                         Case{"a & b &foo; &", "a & b &foo; &"},
                                         Case{"<p>a</div></table></p>b", "a\n\nb"},
                                         Case{"a\0b"sv, "ab"}, Case{"<a href='x", ""},
                                         Case{"<!-- open", ""},
                                         Case{"<frameset><frame></frameset>", ""}));

std::string repeated(std::string_view piece, std::size_t size) {
    std::string text;
    while (text.size() < size) {
        text += piece;
    }
    return text;
}

TEST(HTMLText, DocumentsThatAreMadeToTakeLongDoNot) {
    constexpr std::size_t size = std::size_t{1} << 19U;
    for (const std::string_view piece : {"<div>",
                                         "<span>x",
                                         "<b><div></b>",
                                         "<form><div></form>",
                                         "<table><tr><td>",
                                         "<li>x",
                                         "<ul><li>",
                                         "<blockquote>x<br><br>",
                                         "<svg><td>",
                                         "</x>",
                                         "</p>",
                                         "<!--",
                                         "<![",
                                         "<a b=\"",
                                         "&",
                                         "<div><template></div>",
                                         "<div><!--</div>-->",
                                         "<font>x",
                                         "<p><b><i><u>",
                                         "<dl><dd>"}) {
        const auto begin = std::chrono::steady_clock::now();
        htmlText(repeated(piece, size));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{5}) << piece;
    }
    std::string attributes = "<p ";
    for (int i = 0; i < 100'000; ++i) {
        attributes += "a" + std::to_string(i) + " ";
    }
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(htmlText(attributes + ">a"), "a");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{5});
}

TEST(HTMLText, TextThatIsNestedTooDeepIsKept) {
    EXPECT_EQ(htmlText(repeated("<div>", 5000) + "deep" + repeated("</div>", 6000) + "<p>b"),
              "deep\n\nb");
}

TEST(HTMLText, OnlyTheBeginningOfALongDocumentIsRead) {
    const std::string text = htmlText(repeated("ü", mostHTML + 100));
    EXPECT_EQ(text, repeated("ü", mostHTML));
}

TEST(HTMLNesting, TagsBeyondTheLimitAreLeftOut) {
    EXPECT_EQ(withBoundedNesting("<b><b><b>x</b></b></b>", 2), "<b><b>x</b></b>");
    EXPECT_EQ(withBoundedNesting("<div>a</div><div>b</div><div>c</div>", 1),
              "<div>a</div><div>b</div><div>c</div>");
    EXPECT_EQ(withBoundedNesting("<ul><li><p>x<li><p>y</ul><br/>", 1),
              "<ul><li><p>x<li><p>y</ul><br/>");
    EXPECT_EQ(withBoundedNesting("<b a='>'><b a=\">\"><b a=b'>x", 2), "<b a='>'><b a=\">\">x");
    EXPECT_EQ(withBoundedNesting("<b><!--<b>--><b></b><!DOCTYPE x><?b?></ >", 2),
              "<b><!--<b>--><b></b><!DOCTYPE x><?b?></ >");
    EXPECT_EQ(withBoundedNesting("<script><b><b></script><b>x", 1), "<script><b><b></script><b>x");
    EXPECT_EQ(withBoundedNesting("1 < 2 <3>", 1), "1 < 2 <3>");
}

TEST(HTMLCharset, IsFoundWhereDocumentsNameIt) {
    EXPECT_EQ(htmlCharset("<html><head><META charset=\"KOI8-R\">"), "KOI8-R");
    EXPECT_EQ(htmlCharset("<meta name=x><meta http-equiv=Content-Type "
                          "content='text/html; charset = iso-8859-2'>"),
              "iso-8859-2");
    EXPECT_EQ(htmlCharset("<meta charset=utf-8/>"), "utf-8");
    EXPECT_EQ(htmlCharset("<p>charset=utf-8"), "");
    EXPECT_EQ(htmlCharset("<meta charset"), "");
    EXPECT_EQ(htmlCharset(std::string(5000, ' ') + "<meta charset=x>"), "");
}

} // namespace
} // namespace velmiro::osascript
