#include "QuarnBuilders/PlistWriter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace quarn::sample {
namespace {

constexpr std::int64_t kSecondsFrom1970To2001 = 978'307'200;

std::string escaped(std::string_view text) {
  std::string result;
  for (const char character : text) {
    switch (character) {
      case '&': result += "&amp;"; break;
      case '<': result += "&lt;"; break;
      case '>': result += "&gt;"; break;
      default: result += character;
    }
  }
  return result;
}

std::string base64(std::string_view bytes) {
  static constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string result;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8 | (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0U);
    }
    for (std::size_t k = 0; k < 4; ++k) result += k <= count ? kDigits[group >> (18 - 6 * k) & 63] : '=';
  }
  return result;
}

std::string isoDate(std::int64_t secondsSince2001) {
  const auto seconds = static_cast<std::time_t>(secondsSince2001 + kSecondsFrom1970To2001);
  std::tm parts{};
  ::gmtime_r(&seconds, &parts);
  std::array<char, 32> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return {text.data(), length};
}

std::string realText(double value) {
  std::array<char, 40> text{};
  const int length = std::snprintf(text.data(), text.size(), "%.17g", value);
  return {text.data(), static_cast<std::size_t>(length)};
}

class XmlWriter {
 public:
  std::string document(const PlistValue& root) {
    text_ =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n";
    write(root, 0);
    return std::move(text_) + "</plist>\n";
  }

 private:
  void line(int depth, std::string_view content) {
    text_.append(static_cast<std::size_t>(depth), '\t');
    (text_ += content) += '\n';
  }

  void write(const PlistValue& value, int depth) {
    std::visit([&](const auto& held) { element(held, depth); }, value.held);
  }

  void element(bool held, int depth) { line(depth, held ? "<true/>" : "<false/>"); }
  void element(std::int64_t held, int depth) { line(depth, "<integer>" + std::to_string(held) + "</integer>"); }
  void element(double held, int depth) { line(depth, "<real>" + realText(held) + "</real>"); }
  void element(const std::string& held, int depth) { line(depth, "<string>" + escaped(held) + "</string>"); }
  void element(const PlistData& held, int depth) { line(depth, "<data>" + base64(held.bytes) + "</data>"); }
  void element(PlistDate held, int depth) { line(depth, "<date>" + isoDate(held.seconds) + "</date>"); }

  void element(const PlistArray& held, int depth) {
    line(depth, "<array>");
    for (const PlistValue& item : held) write(item, depth + 1);
    line(depth, "</array>");
  }

  void element(const PlistDictionary& held, int depth) {
    line(depth, "<dict>");
    for (const auto& [key, item] : held) {
      line(depth + 1, "<key>" + escaped(key) + "</key>");
      write(item, depth + 1);
    }
    line(depth, "</dict>");
  }

  std::string text_;
};

void appendBigEndian(std::string& bytes, std::uint64_t value, int width) {
  for (int shift = (width - 1) * 8; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xFF);
}

int bytesFor(std::uint64_t value) { return value < 0x100 ? 1 : value < 0x10000 ? 2 : value < 0x100000000 ? 4 : 8; }

// Converts valid UTF-8 to big-endian UTF-16.
std::string utf16(std::string_view text) {
  static constexpr std::array<std::uint32_t, 5> kLeadBits{0, 0x7F, 0x1F, 0x0F, 0x07};
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    std::uint32_t point = lead & kLeadBits[length];
    for (std::size_t k = 1; k < length; ++k) point = point << 6 | (static_cast<unsigned char>(text[i + k]) & 0x3FU);
    i += length;
    if (point < 0x10000) {
      appendBigEndian(result, point, 2);
    } else {
      appendBigEndian(result, 0xD800 + ((point - 0x10000) >> 10), 2);
      appendBigEndian(result, 0xDC00 + ((point - 0x10000) & 0x3FF), 2);
    }
  }
  return result;
}

// Writes one object per value; equal texts are not shared, which is valid. Writes children before their container, so
// the top object is the last one.
class BinaryWriter {
 public:
  std::string document(const PlistValue& root) {
    referenceWidth_ = bytesFor(countOf(root));
    bytes_ = "bplist00";
    const std::uint64_t top = write(root);
    const std::uint64_t tableOffset = bytes_.size();
    const int offsetWidth = bytesFor(tableOffset);
    for (const std::uint64_t offset : offsets_) appendBigEndian(bytes_, offset, offsetWidth);
    appendBigEndian(bytes_, 0, 6);
    appendBigEndian(bytes_, static_cast<std::uint64_t>(offsetWidth), 1);
    appendBigEndian(bytes_, static_cast<std::uint64_t>(referenceWidth_), 1);
    appendBigEndian(bytes_, offsets_.size(), 8);
    appendBigEndian(bytes_, top, 8);
    appendBigEndian(bytes_, tableOffset, 8);
    return std::move(bytes_);
  }

 private:
  static std::uint64_t countOf(const PlistValue& value) {
    std::uint64_t count = 1;
    if (const auto* array = std::get_if<PlistArray>(&value.held)) {
      for (const PlistValue& item : *array) count += countOf(item);
    } else if (const auto* dictionary = std::get_if<PlistDictionary>(&value.held)) {
      for (const auto& [key, item] : *dictionary) count += 1 + countOf(item);
    }
    return count;
  }

  // Returns the number of the object.
  std::uint64_t write(const PlistValue& value) {
    return std::visit([&](const auto& held) { return object(held); }, value.held);
  }

  std::uint64_t begin() {
    offsets_.push_back(bytes_.size());
    return offsets_.size() - 1;
  }

  void marker(int kind, std::uint64_t count) {
    bytes_ += static_cast<char>(kind << 4 | static_cast<int>(std::min<std::uint64_t>(count, 15)));
    if (count >= 15) integer(count);
  }

  void integer(std::uint64_t value) {
    const int width = bytesFor(value);
    bytes_ += static_cast<char>(0x10 | std::countr_zero(static_cast<unsigned>(width)));
    appendBigEndian(bytes_, value, width);
  }

  std::uint64_t object(bool held) {
    const std::uint64_t number = begin();
    bytes_ += held ? '\x09' : '\x08';
    return number;
  }

  std::uint64_t object(std::int64_t held) {
    const std::uint64_t number = begin();
    integer(static_cast<std::uint64_t>(held));
    return number;
  }

  std::uint64_t eightBytes(char kind, double held) {
    const std::uint64_t number = begin();
    bytes_ += kind;
    appendBigEndian(bytes_, std::bit_cast<std::uint64_t>(held), 8);
    return number;
  }

  std::uint64_t object(double held) { return eightBytes('\x23', held); }
  std::uint64_t object(PlistDate held) { return eightBytes('\x33', static_cast<double>(held.seconds)); }

  std::uint64_t object(const PlistData& held) {
    const std::uint64_t number = begin();
    marker(4, held.bytes.size());
    bytes_ += held.bytes;
    return number;
  }

  std::uint64_t object(const std::string& held) {
    const std::uint64_t number = begin();
    const bool ascii =
        std::all_of(held.begin(), held.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    const std::string content = ascii ? held : utf16(held);
    marker(ascii ? 5 : 6, ascii ? content.size() : content.size() / 2);
    bytes_ += content;
    return number;
  }

  std::uint64_t object(const PlistArray& held) {
    std::vector<std::uint64_t> items;
    for (const PlistValue& item : held) items.push_back(write(item));
    return container(10, held.size(), items);
  }

  std::uint64_t object(const PlistDictionary& held) {
    std::vector<std::uint64_t> references;
    for (const auto& [key, item] : held) references.push_back(object(key));
    for (const auto& [key, item] : held) references.push_back(write(item));
    return container(13, held.size(), references);
  }

  std::uint64_t container(int kind, std::size_t count, const std::vector<std::uint64_t>& references) {
    const std::uint64_t number = begin();
    marker(kind, count);
    for (const std::uint64_t reference : references) appendBigEndian(bytes_, reference, referenceWidth_);
    return number;
  }

  std::string bytes_;
  std::vector<std::uint64_t> offsets_;
  int referenceWidth_ = 1;
};

}  // namespace

std::string xmlPlist(const PlistValue& root) { return XmlWriter().document(root); }
std::string binaryPlist(const PlistValue& root) { return BinaryWriter().document(root); }

std::string plistBytes(const PlistValue& root, PlistFormat format) {
  return format == PlistFormat::xml ? xmlPlist(root) : binaryPlist(root);
}

}  // namespace quarn::sample
