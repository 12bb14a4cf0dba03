#include "tests/quarn/browser/Browser.h"

#include <stdexcept>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"

namespace quarn {
namespace {

// The page is in a frame of the screen's width. The outer page inspects it from outside, so that the page itself
// stays unchanged.
constexpr std::string_view kProbe = R"JS(
window.pwned = 0;
function luminance(c) {
  const part = c.map(v => { v /= 255; return v <= 0.04045 ? v / 12.92 : Math.pow((v + 0.055) / 1.055, 2.4); });
  return 0.2126 * part[0] + 0.7152 * part[1] + 0.0722 * part[2];
}
function numbers(color) { return color.match(/[\d.]+/g).map(Number); }
function backgroundOf(view, element) {
  for (let at = element; at; at = at.parentElement) {
    const color = numbers(view.getComputedStyle(at).backgroundColor);
    if (color.length < 4 || color[3] > 0) return color.slice(0, 3);
  }
  return [255, 255, 255];
}
function look() {
  const frame = document.querySelector("iframe"), view = frame.contentWindow, page = frame.contentDocument;
  const all = [...page.querySelectorAll("*")];
  const result = {title: page.title, pwned: window.pwned || view.pwned ? 1 : 0, elements: {}, handlers: [], links: [],
                  lostLinks: [], repeatedIDs: [], lowContrast: [], headings: [], tableHeads: 0, nameless: 0};
  const ids = new Set();
  for (const element of all) {
    const name = element.localName;
    result.elements[name] = (result.elements[name] || 0) + 1;
    for (const attribute of element.attributes) {
      if (attribute.name.startsWith("on") || attribute.name === "src") result.handlers.push(attribute.name);
      if (attribute.name === "href") result.links.push(attribute.value);
    }
    if (element.id && ids.has(element.id)) result.repeatedIDs.push(element.id);
    ids.add(element.id);
    if (/^h[1-6]$/.test(name)) result.headings.push(Number(name[1]));
    if (name === "table" && !element.tHead) ++result.tableHeads;
    const hasText = [...element.childNodes].some(node => node.nodeType === 3 && node.nodeValue.trim());
    const box = element.getBoundingClientRect();
    if (!hasText || !box.width || !box.height || ["style", "title"].includes(name)) continue;
    const ink = luminance(numbers(view.getComputedStyle(element).color)), paper = luminance(backgroundOf(view, element));
    const contrast = (Math.max(ink, paper) + 0.05) / (Math.min(ink, paper) + 0.05);
    if (contrast < 4.5) result.lowContrast.push(name + "." + element.className + " " + contrast.toFixed(2));
  }
  result.lostLinks = result.links.filter(link => !link.startsWith("#") || !ids.has(link.slice(1)));
  const stops = all.filter(element => element.tabIndex >= 0);
  result.focusable = stops.length;
  result.nameless = stops.filter(stop => !(stop.getAttribute("aria-label") || stop.textContent).trim()).length;
  result.overflow = page.documentElement.scrollWidth - page.documentElement.clientWidth;
  result.paper = view.getComputedStyle(page.body).backgroundColor;
  result.text = page.body.textContent;
  document.getElementById("result").textContent = "BEGIN" + btoa(unescape(encodeURIComponent(JSON.stringify(result)))) + "END";
}
)JS";

std::string replaced(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string withoutPolicy(const std::string& page) {
  const std::size_t begin = page.find("<meta http-equiv=\"Content-Security-Policy\"");
  if (begin == std::string::npos) throw std::runtime_error("the page has no policy");
  return page.substr(0, begin) + page.substr(page.find('>', begin) + 1);
}

std::string framed(const std::string& page, const Screen& screen) {
  const std::string quoted = replaced(replaced(page, "&", "&amp;"), "\"", "&quot;");
  return "<!doctype html><meta charset=\"utf-8\"><script>" + std::string(kProbe) +
         "</script><pre id=\"result\"></pre>" +
         "<iframe onload=\"look()\" style=\"border:0;height:2000px;width:" + std::to_string(screen.width) +
         "px\" srcdoc=\"" + quoted + "\"></iframe>";
}

std::string decoded(std::string_view base64) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  unsigned bits = 0;
  int count = 0;
  for (const char digit : base64) {
    const std::size_t value = kDigits.find(digit);
    if (value == std::string_view::npos) break;
    bits = bits << 6 | static_cast<unsigned>(value);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count & 0xFF);
  }
  return bytes;
}

}  // namespace

nlohmann::json lookedAt(const std::string& page, const Screen& screen, bool keepPolicy) {
  MacVolume folder;
  folder.text("/page.html", framed(keepPolicy ? page : withoutPolicy(page), screen)).folder("/profile");
  // As root, headless chromium requires --no-sandbox. It only loads our own pages.
  const CommandRun run =
      runProgram("/usr/bin/chromium",
                 {"--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                  "--disable-dev-shm-usage", "--disable-background-networking", "--disable-component-update",
                  "--disable-sync", "--disable-extensions", "--proxy-server=127.0.0.1:9",
                  screen.isDark ? "--blink-settings=preferredColorScheme=0" : "--blink-settings=preferredColorScheme=1",
                  "--user-data-dir=" + folder.root() + "/profile", "--window-size=1400,2200", "--dump-dom",
                  "file://" + folder.root() + "/page.html"},
                 "", {"HOME=" + folder.root()});
  const std::size_t begin = run.out.find(">BEGIN");
  const std::size_t end = run.out.find("END<", begin);
  if (begin == std::string::npos || end == std::string::npos) {
    throw std::runtime_error("chromium (see cmake/packages.txt) showed nothing: " + run.err.substr(0, 2000));
  }
  return nlohmann::json::parse(decoded(std::string_view(run.out).substr(begin + 6, end - begin - 6)));
}

}  // namespace quarn
