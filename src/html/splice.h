#pragma once

// Text operations on a whole HTML document as it arrives from the server, before it is loaded into
// the editing engine: removing the document's own styling so that the server's style sheet alone
// governs the look, and reducing the document to the inner HTML of its body.
//
// These are plain substring searches that ignore ASCII letter case ("<LINK " is found as "<link ");
// no parser is involved. Positions are 1-based byte positions in the UTF-8 text; every marker
// searched for is ASCII, so a position found here never falls inside a character. All operations
// run in time linear in the size of the document.

#include <cstdint>
#include <string>
#include <string_view>

namespace vellmar::html {

// The document without its own styling, in four passes in this order:
//  1. style-sheet links: while the first "<link " tag (through its ">") contains "stylesheet" or
//     " rel", it is removed; the pass stops at the first "<link " tag that does neither, or that
//     has no ">";
//  2. style blocks: while hasStyleBlock holds, the first "<style" through the ">" closing the first
//     "</style" after it is removed;
//  3. class attributes: each ` class="` through the closing double quote of its value is removed
//     with its leading blank; a value without a closing quote ends the pass;
//  4. style attributes: the same for ` style="`.
// Attributes in single quotes, without quotes or without a blank before them are left alone.
// Text that a removal joins into a new match is removed too, as repeating each pass until nothing
// matches would. Failures are logged by the error convention and give an empty text.
std::string stripEmbeddedStyles(std::string_view doc);

// The inner HTML of the body: the text between the ">" that ends the first "<body" tag and the
// first "</body" after it, provided a ">" closes that "</body". Otherwise the document unchanged.
std::string extractBodyContent(std::string_view doc);
// The same, made of `doc` itself instead of a copy.
std::string takeBodyContent(std::string doc);

// Whether the first "<link " tag of the document, through its ">", contains "stylesheet" or
// " rel". False when there is no "<link " or it is never closed.
bool hasStylesheetLink(std::string_view doc);

// Whether the document holds a complete style block: a "<style", a ">" at or after it, a "</style"
// after that ">", and a ">" at or after the "</style".
bool hasStyleBlock(std::string_view doc);

// The first `before` bytes of doc followed by the bytes from 1-based position `after` to the end;
// removeRange(doc, s - 1, e + 1) removes positions s through e. Positions outside the text are
// clamped to it.
std::string removeRange(std::string_view doc, std::int64_t before, std::int64_t after);

}  // namespace vellmar::html
