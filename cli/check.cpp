// vellmar check: every exchange an editor configured by a container page makes, made the way the
// editor makes it (its client over TCP, its shared variables and paths, its XML reader), with
// what comes back checked against the documents the editor expects.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "editor/properties.h"
#include "editor/server_documents.h"
#include "html/splice.h"
#include "http/http_request.h"
#include "http/server_exchange.h"
#include "platform/native/poll_loop.h"
#include "xml/simple_dom.h"

namespace {

namespace fs = std::filesystem;
using vellmar::http::ctlHttpRequest;
using vellmar::xml::SimpleElement;

constexpr const char* kUsage =
    "check (--page URL|FILE | --param NAME=VALUE...) [--param NAME=VALUE]... [--write]";

// Text of several scripts that a save must give back exactly: characters above 255 and one of each
// width of UTF-8 (none from 162 to 255, which the clean-up writes as references).
constexpr const char* kCharacterSample =
    "5 \u20AC \u2014 \u201Cquoted\u201D \u2014 \u4E2D\u6587 \u2014 "
    "\u0395\u03BB\u03BB\u03B7\u03BD\u03B9\u03BA\u03AC \u2014 \U0001F600";

// ---------------------------------------------------------------- reading the container page

char lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

std::string lowered(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = lower(c);
  return out;
}

std::string decodeEntities(std::string_view s) {
  static const std::pair<std::string_view, char> kEntities[] = {
      {"&amp;", '&'}, {"&quot;", '"'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&#39;", '\''}, {"&apos;", '\''}};
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size();) {
    bool replaced = false;
    if (s[i] == '&') {
      for (const auto& [entity, c] : kEntities) {
        if (s.substr(i, entity.size()) == entity) {
          out.push_back(c);
          i += entity.size();
          replaced = true;
          break;
        }
      }
    }
    if (!replaced) out.push_back(s[i++]);
  }
  return out;
}

// The value of attribute `name` inside one tag's text, quoted with " or ' or bare.
std::optional<std::string> attribute(std::string_view tag, std::string_view name) {
  const std::string low = lowered(tag);
  for (std::size_t at = low.find(name); at != std::string::npos; at = low.find(name, at + 1)) {
    const char before = at > 0 ? low[at - 1] : ' ';
    if (before != ' ' && before != '\t' && before != '\n' && before != '\r') continue;
    std::size_t p = at + name.size();
    while (p < tag.size() && tag[p] == ' ') ++p;
    if (p >= tag.size() || tag[p] != '=') continue;
    ++p;
    while (p < tag.size() && tag[p] == ' ') ++p;
    if (p >= tag.size()) return std::string();
    if (tag[p] == '"' || tag[p] == '\'') {
      const auto close = tag.find(tag[p], p + 1);
      return decodeEntities(tag.substr(p + 1, (close == std::string::npos ? tag.size() : close) - p - 1));
    }
    std::size_t end = p;
    while (end < tag.size() && tag[end] != ' ' && tag[end] != '>' && tag[end] != '/') ++end;
    return decodeEntities(tag.substr(p, end - p));
  }
  return std::nullopt;
}

// Every <param name=... value=...> of the first editor element on the page (an <object> or a
// <vellmar-editor>), in document order.
std::vector<std::pair<std::string, std::string>> pageParams(const std::string& page) {
  const std::string low = lowered(page);
  std::size_t start = std::min(low.find("<object"), low.find("<vellmar-editor"));
  std::size_t end = std::string::npos;
  if (start != std::string::npos) {
    end = std::min(low.find("</object", start), low.find("</vellmar-editor", start));
  } else {
    start = 0;
  }
  std::vector<std::pair<std::string, std::string>> params;
  for (std::size_t at = low.find("<param", start); at != std::string::npos && at < end;
       at = low.find("<param", at + 6)) {
    const auto close = page.find('>', at);
    const std::string_view tag = std::string_view(page).substr(at, close == std::string::npos ? std::string::npos : close - at);
    if (auto name = attribute(tag, "name"))
      params.emplace_back(*name, attribute(tag, "value").value_or(""));
  }
  return params;
}

// ---------------------------------------------------------------- one exchange

struct Outcome {
  bool completed = false;
  std::string body;
  std::string failure;  // the event and the server's own words
};

std::string oneLine(std::string_view text, std::size_t max = 160) {
  std::string out;
  for (char c : text) {
    if (out.size() >= max) {
      out += "...";
      break;
    }
    const bool space = c == '\r' || c == '\n' || c == '\t' || c == ' ';
    if (space && (out.empty() || out.back() == ' ')) continue;
    out.push_back(space ? ' ' : c);
  }
  while (!out.empty() && out.back() == ' ') out.pop_back();
  return out;
}

// The cookies answers set with HttpOnly, by name: a page cannot replace them, so in the browser
// they win over cookie parameters of the same name.
using HttpOnlyCookies = std::map<std::string, std::string>;

// Adds the HttpOnly cookies that the head of `answer` sets to `cookies`.
void collectHttpOnlyCookies(std::string_view answer, HttpOnlyCookies& cookies) {
  const auto headEnd = answer.find("\r\n\r\n");
  std::string_view head = answer.substr(0, headEnd);
  while (!head.empty()) {
    const auto eol = head.find("\r\n");
    const std::string_view line = head.substr(0, eol);
    head = eol == std::string_view::npos ? std::string_view() : head.substr(eol + 2);
    if (lowered(line.substr(0, 11)) != "set-cookie:") continue;
    std::string_view cookie = line.substr(11);
    while (!cookie.empty() && cookie.front() == ' ') cookie.remove_prefix(1);
    const std::string attributes = lowered(cookie.substr(std::min(cookie.find(';'), cookie.size())));
    if (attributes.find("httponly") == std::string::npos) continue;
    const auto eq = cookie.find('=');
    if (eq == std::string_view::npos) continue;
    const auto end = cookie.find(';');
    cookies[std::string(cookie.substr(0, eq))] =
        std::string(cookie.substr(eq + 1, (end == std::string_view::npos ? cookie.size() : end) - eq - 1));
  }
}

class Checker {
 public:
  Checker(vellmar::editor::PropertySet& props, HttpOnlyCookies& cookies)
      : props_(props), cookies_(cookies) {}

  Outcome run(int method, const std::string& pathProperty,
              const std::function<void(ctlHttpRequest&)>& addFields = {}) {
    Outcome outcome;
    ctlHttpRequest request(loop_);
    bool done = false;
    request.events.complete = [&](const std::string& body) {
      collectHttpOnlyCookies(request.responseBuffer(), cookies_);
      outcome.completed = true;
      outcome.body = body;
      done = true;
    };
    request.events.error = [&](int number, const std::string& description) {
      outcome.failure = "network error " + std::to_string(number) + ": " + description;
      done = true;
    };
    request.events.parseError = [&](int, const std::string& message, const std::string& text) {
      collectHttpOnlyCookies(request.responseBuffer(), cookies_);
      outcome.failure = message + (text.empty() ? "" : "; the server said: \"" + oneLine(text) + "\"");
      outcome.body = text;
      done = true;
    };
    request.events.timeout = [&] {
      outcome.failure = "no answer within " + std::to_string(props_.httpTimeout()) + " seconds";
      done = true;
    };
    vellmar::http::addCommonVariables(request, props_);
    if (addFields) addFields(request);
    try {
      request.http(method, props_.domain(),
                   vellmar::http::exchangePath(props_.documentRoot(), pathProperty),
                   props_.httpTimeout(), port_);
    } catch (const std::exception& e) {
      outcome.failure = std::string("the request could not be composed: ") + e.what();
      return outcome;
    }
    loop_.runUntil([&] { return done; });
    return outcome;
  }

  void report(bool ok, const std::string& exchange, const std::string& path,
              const std::string& detail) {
    if (!ok) ++failures_;
    std::printf("%-4s %-17s %s: %s\n", ok ? "OK" : "FAIL", exchange.c_str(), path.c_str(),
                detail.c_str());
    std::fflush(stdout);
  }
  void skip(const std::string& exchange, const std::string& property) {
    std::printf("%-4s %-17s %s is not set\n", "SKIP", exchange.c_str(), property.c_str());
  }
  // An integration fault that no exchange shows: every request may answer and the editor still
  // fail in the browser. Warnings do not change the exit status.
  void warn(const std::string& topic, const std::string& text) {
    std::printf("%-4s %-17s %s\n", "WARN", topic.c_str(), text.c_str());
    std::fflush(stdout);
  }

  void setPort(int port) { port_ = port; }
  int failures() const { return failures_; }

 private:
  vellmar::native::PollLoop loop_;
  vellmar::editor::PropertySet& props_;
  HttpOnlyCookies& cookies_;
  int port_ = 0;
  int failures_ = 0;
};

std::unique_ptr<SimpleElement> parseXml(const std::string& body) {
  return vellmar::xml::SimpleDOMParser().Parse(vellmar::http::prepareXmlText(body));
}

const SimpleElement* child(const SimpleElement& e, std::string_view name) {
  for (int i = 0; i < e.ChildElements().Count(); ++i)
    if (e.ChildElements().Item(i)->name == name) return e.ChildElements().Item(i);
  return nullptr;
}

// The class rules a browser finds in a style sheet, however its lines end: selectors starting
// with "." and without a pseudo-class, in every rule (also inside @media blocks).
std::size_t classRulesInSheet(std::string_view sheet) {
  std::size_t count = 0;
  std::string prelude;
  for (std::size_t i = 0; i < sheet.size(); ++i) {
    const char c = sheet[i];
    if (c == '/' && i + 1 < sheet.size() && sheet[i + 1] == '*') {
      const auto close = sheet.find("*/", i + 2);
      if (close == std::string_view::npos) break;
      i = close + 1;
    } else if (c == '{') {
      std::string_view rest = prelude;
      while (!rest.empty() && std::isspace(static_cast<unsigned char>(rest.front()))) rest.remove_prefix(1);
      const bool atRule = !rest.empty() && rest.front() == '@';
      while (!atRule && !rest.empty()) {
        const auto comma = rest.find(',');
        std::string_view one = rest.substr(0, comma);
        rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
        while (!one.empty() && std::isspace(static_cast<unsigned char>(one.front()))) one.remove_prefix(1);
        if (!one.empty() && one.front() == '.' && one.find(':') == std::string_view::npos) ++count;
      }
      prelude.clear();
      // An at-rule's block (@media) holds rules of its own; a rule's declarations are skipped.
      if (!atRule) {
        const auto close = sheet.find('}', i + 1);
        if (close == std::string_view::npos) break;
        i = close;
      }
    } else if (c == '}' || c == ';') {
      prelude.clear();
    } else {
      prelude.push_back(c);
    }
  }
  return count;
}

// The classes the editor will offer for `sheet`: its own reading, without the empty entry.
std::vector<std::string> editorClasses(std::string_view sheet) {
  auto classes = vellmar::editor::cssClassesFromStyleSheet(sheet);
  if (classes.size() == 1 && classes.front().empty()) classes.clear();
  return classes;
}

// The property name nearest to `name` (letter case ignored, fewest single-character edits).
std::string nearestProperty(std::string_view name) {
  const std::string wanted = lowered(name);
  std::string best;
  std::size_t bestDistance = std::string::npos;
  std::vector<std::size_t> row, previous;
  for (const auto& def : vellmar::editor::propertyTable()) {
    const std::string candidate = lowered(def.name);
    previous.resize(candidate.size() + 1);
    row.resize(candidate.size() + 1);
    for (std::size_t j = 0; j <= candidate.size(); ++j) previous[j] = j;
    for (std::size_t i = 1; i <= wanted.size(); ++i) {
      row[0] = i;
      for (std::size_t j = 1; j <= candidate.size(); ++j) {
        const std::size_t substitution = previous[j - 1] + (wanted[i - 1] == candidate[j - 1] ? 0 : 1);
        row[j] = std::min({previous[j] + 1, row[j - 1] + 1, substitution});
      }
      std::swap(row, previous);
    }
    if (previous[candidate.size()] < bestDistance) {
      bestDistance = previous[candidate.size()];
      best = std::string(def.name);
    }
  }
  return best;
}

// A 2 x 2 PNG drawn here: stored (uncompressed) deflate blocks, so no compressor is needed.
std::string generatedPng() {
  auto crc32 = [](std::string_view data) {
    std::uint32_t crc = 0xFFFFFFFFu;
    for (char ch : data) {
      crc ^= static_cast<unsigned char>(ch);
      for (int k = 0; k < 8; ++k) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return crc ^ 0xFFFFFFFFu;
  };
  auto be32 = [](std::uint32_t v) {
    std::string s(4, '\0');
    for (int i = 0; i < 4; ++i) s[static_cast<std::size_t>(i)] = static_cast<char>((v >> (24 - 8 * i)) & 0xFFu);
    return s;
  };
  auto chunk = [&](const std::string& type, const std::string& data) {
    return be32(static_cast<std::uint32_t>(data.size())) + type + data + be32(crc32(type + data));
  };
  // Two rows of two RGB pixels, each row led by filter byte 0.
  const std::string raw("\x00\xC0\x39\x2B\x1F\x3A\x5F\x00\xF2\xC1\x4E\x2E\x8B\x57", 14);
  std::uint32_t a = 1, b = 0;
  for (char ch : raw) {
    a = (a + static_cast<unsigned char>(ch)) % 65521u;
    b = (b + a) % 65521u;
  }
  std::string deflate("\x78\x01\x01", 3);
  deflate += static_cast<char>(raw.size() & 0xFF);
  deflate += static_cast<char>(raw.size() >> 8);
  deflate += static_cast<char>(~raw.size() & 0xFF);
  deflate += static_cast<char>((~raw.size() >> 8) & 0xFF);
  deflate += raw + be32((b << 16) | a);
  const std::string ihdr = be32(2) + be32(2) + std::string("\x08\x02\x00\x00\x00", 5);
  return std::string("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", ihdr) + chunk("IDAT", deflate) +
         chunk("IEND", "");
}

// ---------------------------------------------------------------- the checks

void checkList(Checker& c, const std::string& exchange, const std::string& path,
               bool email) {
  const Outcome o = c.run(0, path);
  if (!o.completed) return c.report(false, exchange, path, o.failure);
  const auto root = parseXml(o.body);
  if (!root)
    return c.report(false, exchange, path, "the answer is not a list document: \"" + oneLine(o.body) + "\"");
  const int n = root->ChildElements().Count();
  for (int i = 0; i < n; ++i) {
    const auto& link = *root->ChildElements().Item(i);
    if (link.ChildElements().Count() < 2)
      return c.report(false, exchange, path,
                      "entry " + std::to_string(i + 1) + " <" + link.name +
                          "> needs a display name and an address as its first two children");
    const std::string& address = link.ChildElements().Item(1)->Text;
    if (link.ChildElements().Item(0)->Text.empty() || address.empty())
      return c.report(false, exchange, path,
                      "entry " + std::to_string(i + 1) + " has an empty name or address");
    if (email && (address.find('@') == std::string::npos || address.rfind("mailto:", 0) == 0))
      return c.report(false, exchange, path,
                      "entry " + std::to_string(i + 1) + " address \"" + address +
                          "\" is not a bare e-mail address");
  }
  c.report(true, exchange, path, "<" + root->name + "> with " + std::to_string(n) + " entries");
}

// Returns the parsed image list when it has the documented shape.
std::unique_ptr<SimpleElement> checkImageList(Checker& c, const std::string& path, bool quiet) {
  const Outcome o = c.run(0, path);
  if (!o.completed) {
    c.report(false, "image list", path, o.failure);
    return nullptr;
  }
  auto root = parseXml(o.body);
  if (!root) {
    c.report(false, "image list", path, "the answer is not a list document: \"" + oneLine(o.body) + "\"");
    return nullptr;
  }
  for (int i = 0; i < root->ChildElements().Count(); ++i) {
    const auto& image = *root->ChildElements().Item(i);
    const auto* first = image.ChildElements().Item(0);
    if (!first || first->name != "vmImageName") {
      c.report(false, "image list", path,
               "image " + std::to_string(i + 1) + ": the first child must be <vmImageName>");
      return nullptr;
    }
    for (const char* name : {"vmImageSize", "vmImageWidth", "vmImageHeight", "vmImagePath"}) {
      if (!child(image, name)) {
        c.report(false, "image list", path,
                 "image " + std::to_string(i + 1) + " (" + first->Text + ") has no <" + name + ">");
        return nullptr;
      }
    }
  }
  if (!quiet)
    c.report(true, "image list", path,
             "<" + root->name + "> with " + std::to_string(root->ChildElements().Count()) + " images");
  return root;
}

const SimpleElement* imageNamed(const SimpleElement& list, const std::string& name) {
  for (int i = 0; i < list.ChildElements().Count(); ++i) {
    const auto* image = list.ChildElements().Item(i);
    if (image->ChildElements().Item(0) && image->ChildElements().Item(0)->Text == name) return image;
  }
  return nullptr;
}

int check(const std::vector<std::string>& args) {
  std::vector<std::pair<std::string, std::string>> params;
  std::vector<std::pair<std::string, std::string>> overrides;
  std::string pageSource;
  bool write = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if ((a == "--page" || a == "--param") && i + 1 >= args.size()) {
      std::fprintf(stderr, "vellmar check: %s needs a value\nusage: vellmar %s\n", a.c_str(), kUsage);
      return 2;
    }
    if (a == "--page") {
      pageSource = args[++i];
    } else if (a == "--param") {
      const std::string& pair = args[++i];
      const auto eq = pair.find('=');
      if (eq == std::string::npos || eq == 0) {
        std::fprintf(stderr, "vellmar check: --param wants NAME=VALUE, not '%s'\n", pair.c_str());
        return 2;
      }
      overrides.emplace_back(pair.substr(0, eq), pair.substr(eq + 1));
    } else if (a == "--write") {
      write = true;
    } else {
      std::fprintf(stderr, "vellmar check: unknown option %s\nusage: vellmar %s\n", a.c_str(), kUsage);
      return 2;
    }
  }
  if (pageSource.empty() && overrides.empty()) {
    std::fprintf(stderr, "usage: vellmar %s\n", kUsage);
    return 2;
  }

  vellmar::editor::PropertySet props;
  HttpOnlyCookies httpOnlyCookies;
  std::string pageOrigin;  // "host:port" of a page fetched over HTTP
  int failures = 0;
  if (!pageSource.empty()) {
    std::string page;
    if (pageSource.rfind("http://", 0) == 0) {
      // The page itself is fetched with the editor's client too.
      std::string rest = pageSource.substr(7);
      const auto slash = rest.find('/');
      const std::string hostPort = rest.substr(0, slash);
      const std::string path = slash == std::string::npos ? "/" : rest.substr(slash);
      const auto colon = hostPort.rfind(':');
      vellmar::editor::PropertySet pageProps;
      pageProps.let("domain", hostPort.substr(0, colon));
      pageProps.let("port", colon == std::string::npos ? std::string("80") : hostPort.substr(colon + 1));
      Checker fetcher(pageProps, httpOnlyCookies);
      fetcher.setPort(vellmar::http::convertPort(pageProps.port()).value_or(80));
      pageOrigin = pageProps.domain() + ":" + std::to_string(vellmar::http::convertPort(pageProps.port()).value_or(80));
      const Outcome o = fetcher.run(0, path);
      if (!o.completed) {
        std::printf("FAIL %-17s %s: %s\n", "page", pageSource.c_str(), o.failure.c_str());
        return 1;
      }
      page = o.body;
    } else {
      std::ifstream in(pageSource, std::ios::binary);
      if (!in) {
        std::fprintf(stderr, "vellmar check: cannot read %s\n", pageSource.c_str());
        return 2;
      }
      std::ostringstream text;
      text << in.rdbuf();
      page = text.str();
    }
    params = pageParams(page);
    if (params.empty()) {
      std::printf("FAIL %-17s %s: no <param> elements of an editor found\n", "page", pageSource.c_str());
      return 1;
    }
  }
  params.insert(params.end(), overrides.begin(), overrides.end());
  Checker c(props, httpOnlyCookies);
  for (const auto& [name, value] : params) {
    if (props.let(name, value)) continue;
    if (vellmar::editor::findProperty(name))
      c.warn("param", name + "=\"" + value + "\" is not a value this property takes; it keeps its default");
    else
      c.warn("param", name + " is not a property the editor takes; did you mean " +
                          nearestProperty(name) + "?");
  }

  const auto port = vellmar::http::convertPort(props.port());
  if (props.domain().empty() || !port) {
    c.report(false, "configuration", "domain/port",
             "the editor needs domain and a numeric port (domain \"" + props.domain() +
                 "\", port \"" + props.port() + "\")");
    return 1;
  }
  c.setPort(*port);
  const std::string editorOrigin = props.domain() + ":" + std::to_string(*port);
  if (!pageOrigin.empty() && lowered(pageOrigin) != lowered(editorOrigin))
    c.warn("origin", "the page comes from " + pageOrigin + " but the editor talks to " +
                         editorOrigin + " (domain:port): the browser refuses the component and its "
                         "exchanges across origins; serve both from one origin");

  const std::string contentPath = props.pathToContent();
  std::string fetchedBody;
  bool haveBody = false;
  if (contentPath.empty()) {
    c.skip("content", "pathToContent");
  } else {
    const Outcome o = c.run(0, contentPath);
    if (!o.completed) {
      c.report(false, "content", contentPath, o.failure);
    } else {
      const std::string low = lowered(o.body);
      const auto open = low.find("<body");
      const bool closed = open != std::string::npos && low.find("</body", open) != std::string::npos;
      if (!closed) {
        c.report(false, "content", contentPath,
                 "the document has no <body> ... </body>: \"" + oneLine(o.body) + "\"");
      } else {
        fetchedBody = vellmar::html::extractBodyContent(o.body);
        haveBody = true;
        c.report(true, "content", contentPath,
                 "document with a body of " + std::to_string(fetchedBody.size()) + " bytes");
      }
    }
  }

  const std::string cssPath = props.getText("PathToStyleSheet");
  if (cssPath.empty()) {
    c.skip("style sheet", "PathToStyleSheet");
  } else {
    const Outcome o = c.run(0, cssPath);
    if (!o.completed) {
      c.report(false, "style sheet", cssPath, o.failure);
    } else {
      const auto classes = editorClasses(o.body);
      std::string names;
      for (std::size_t i = 0; i < classes.size() && i < 6; ++i) names += (i ? " " : "") + classes[i];
      c.report(!classes.empty(), "style sheet", cssPath,
               classes.empty() ? "no class rules the editor can offer (\".name {\" on one CR LF line)"
                               : std::to_string(classes.size()) + " classes: " + names);
      const std::size_t inSheet = classRulesInSheet(o.body);
      if (classes.size() < inSheet) {
        const bool bareLineFeeds = [&] {
          for (std::size_t at = o.body.find('\n'); at != std::string::npos; at = o.body.find('\n', at + 1))
            if (at == 0 || o.body[at - 1] != '\r') return true;
          return false;
        }();
        c.warn("style sheet",
               "the sheet has " + std::to_string(inSheet) + " class rules, but the editor will see " +
                   std::to_string(classes.size()) + (classes.size() == 1 ? " class" : " classes") +
                   ": it reads class rules one CR LF line at a time, each \".name {\" on one line" +
                   (bareLineFeeds ? " (this sheet's lines end in LF alone)" : ""));
      }
    }
  }

  const std::string keepAlivePath = props.getText("PathToKeepAlive");
  if (keepAlivePath.empty()) {
    c.skip("keep-alive", "PathToKeepAlive");
  } else {
    const Outcome o = c.run(0, keepAlivePath);
    c.report(o.completed, "keep-alive", keepAlivePath, o.completed ? "answered" : o.failure);
  }

  const std::string savePath = props.pathToSaveToServer();
  if (savePath.empty()) {
    c.skip("save", "PathToSaveToServer");
  } else if (!write) {
    std::printf("%-4s %-17s %s: a save stores a document; run with --write to include it\n", "SKIP",
                "save", savePath.c_str());
  } else {
    // A document that has an identifier gets its own body back as a new version; otherwise a
    // new document is made, so nothing that exists is changed. The new document carries text of
    // several scripts, which must come back exactly as sent.
    std::string text;
    if (!props.contentID().empty() && haveBody) {
      text = fetchedBody;
    } else {
      text = "<p>Saved by vellmar check at " + std::to_string(std::time(nullptr)) + ": " +
             kCharacterSample + "</p>";
    }
    const Outcome o = c.run(1, savePath, [&](ctlHttpRequest& r) { r.addFormVariable("vmContent", 0, text); });
    const auto root = o.completed ? parseXml(o.body) : nullptr;
    if (!o.completed) {
      c.report(false, "save", savePath, o.failure);
    } else if (!root || root->name != "vmContentID" || root->Text.empty()) {
      c.report(false, "save", savePath,
               "the answer is not <vmContentID>N</vmContentID>: \"" + oneLine(o.body) + "\"");
    } else if (contentPath.empty()) {
      c.report(true, "save", savePath, "stored as vmContentID " + root->Text);
    } else {
      vellmar::editor::PropertySet& p = props;
      const std::string previous = p.contentID();
      p.let("ContentID", root->Text);
      const Outcome back = c.run(0, contentPath);
      p.let("ContentID", previous);
      const bool found = back.completed && back.body.find(text) != std::string::npos;
      c.report(found, "save", savePath,
               found ? "stored as vmContentID " + root->Text + " and read back"
                     : "stored as vmContentID " + root->Text + ", but reading it back " +
                           (back.completed ? "gave other text: \"" + oneLine(back.body) + "\""
                                           : "failed: " + back.failure));
    }
  }

  const std::string listPath = props.getText("PathToImageList");
  std::unique_ptr<SimpleElement> images;
  if (listPath.empty()) {
    c.skip("image list", "PathToImageList");
  } else if ((images = checkImageList(c, listPath, false)) && images->ChildElements().Count() > 0) {
    const std::string imagePath = child(*images->ChildElements().Item(0), "vmImagePath")->Text;
    const Outcome o = c.run(0, imagePath);
    c.report(o.completed && !o.body.empty(), "image preview", imagePath,
             o.completed ? std::to_string(o.body.size()) + " bytes" : o.failure);
  }

  for (const auto& [exchange, property, email] :
       {std::tuple{"link list", "PathToLinkList", false},
        std::tuple{"email link list", "PathToEmailLinkList", true}}) {
    const std::string path = props.getText(property);
    if (path.empty()) c.skip(exchange, property);
    else checkList(c, exchange, path, email);
  }

  if (write) {
    const std::string uploadPath = props.getText("PathToImageUpload");
    const std::string deletePath = props.getText("PathToImageDelete");
    if (uploadPath.empty() || listPath.empty()) {
      c.skip("image upload", uploadPath.empty() ? "PathToImageUpload" : "PathToImageList");
    } else {
      const std::string png = generatedPng();
      const fs::path local = fs::temp_directory_path() /
                             ("vellmar-check-" + std::to_string(getpid()) + ".png");
      { std::ofstream(local, std::ios::binary) << png; }
      const std::string name = "vellmar check " + std::to_string(std::time(nullptr));
      const Outcome up = c.run(1, uploadPath, [&](ctlHttpRequest& r) {
        r.addFormVariable("vmImageName", 0, name);
        r.addFormVariable("vmImageSize", 0, std::to_string(png.size()));
        r.addFormVariable("vmImageWidth", 0, "2");
        r.addFormVariable("vmImageHeight", 0, "2");
        r.addFormVariable("vmImageFile", 1, local.string());
      });
      std::error_code ec;
      fs::remove(local, ec);
      c.report(up.completed, "image upload", uploadPath,
               up.completed ? "uploaded \"" + name + "\" (" + std::to_string(png.size()) + " bytes)"
                            : up.failure);
      const auto after = up.completed ? checkImageList(c, listPath, true) : nullptr;
      const SimpleElement* mine = after ? imageNamed(*after, name) : nullptr;
      if (up.completed && after)
        c.report(mine != nullptr, "image in list", listPath,
                 mine ? "listed at " + child(*mine, "vmImagePath")->Text
                      : "the uploaded image \"" + name + "\" is not in the list");
      if (mine && deletePath.empty()) {
        c.skip("image delete", "PathToImageDelete");
      } else if (mine) {
        const Outcome del = c.run(1, deletePath, [&](ctlHttpRequest& r) {
          for (int i = 0; i < mine->ChildElements().Count(); ++i)
            r.addFormVariable(mine->ChildElements().Item(i)->name, 0, mine->ChildElements().Item(i)->Text);
        });
        const auto final = del.completed ? checkImageList(c, listPath, true) : nullptr;
        const bool gone = final && !imageNamed(*final, name);
        c.report(gone, "image delete", deletePath,
                 !del.completed ? del.failure
                 : gone         ? "deleted and gone from the list"
                                : "answered, but the image is still listed");
      }
    }
  }

  for (int i = 1; i <= 10; ++i) {
    const std::string& name = props.cookieName(i);
    const auto set = httpOnlyCookies.find(name);
    if (name.empty() || set == httpOnlyCookies.end() || set->second == props.cookieValue(i)) continue;
    c.warn("cookie", "the server sets " + name + " as an HttpOnly cookie, which a page cannot "
                     "replace: in the browser the requests carry the server's " + name +
                     ", not CookieValue" + std::to_string(i));
  }

  failures = c.failures();
  std::printf("%s\n", failures == 0 ? "All exchanges passed."
                                    : (std::to_string(failures) + " exchange(s) failed.").c_str());
  return failures == 0 ? 0 : 1;
}

const vellmar::cli::RegisterCommand registration("check", kUsage, check);

}  // namespace
