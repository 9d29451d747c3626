// Reading an image list as the image manager does (prepareXmlText, then Parse) at 1,250 and
// 10,000 entries. Linear reading shows a time ratio near 8.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>

#include "http/server_exchange.h"
#include "xml/simple_dom.h"

namespace {

using Clock = std::chrono::steady_clock;

std::string imageList(int entries) {
  std::string out = "<?xml version=\"1.0\"?>\r\n<imagelist>\r\n";
  for (int i = 0; i < entries; ++i) {
    const std::string n = std::to_string(i);
    out += "  <image>\r\n    <name>picture " + n + ".jpg</name>\r\n    <path>/media/picture" + n +
           ".jpg</path>\r\n    <width>640</width>\r\n    <height>480</height>\r\n"
           "    <size>48213</size>\r\n  </image>\r\n";
  }
  out += "</imagelist>\r\n";
  return out;
}

double timeRead(const std::string& text, int entries) {
  double best = 1e9;
  for (int round = 0; round < 5; ++round) {
    const auto start = Clock::now();
    vellmar::xml::SimpleDOMParser parser;
    auto root = parser.Parse(vellmar::http::prepareXmlText(text));
    best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
    if (!root || root->ChildElements().Count() != entries) std::fprintf(stderr, "wrong tree\n");
  }
  return best;
}

}  // namespace

int main() {
  const int large = 10000;
  const int small = large / 8;
  const std::string t1 = imageList(small);
  const std::string t8 = imageList(large);
  const double s1 = timeRead(t1, small);
  const double s8 = timeRead(t8, large);
  std::printf("image list %5d entries (%7zu bytes): %8.5f s\n", small, t1.size(), s1);
  std::printf("image list %5d entries (%7zu bytes): %8.5f s\n", large, t8.size(), s8);
  std::printf("ratio 8x/1x = %.2f\n", s8 / s1);
  return 0;
}
