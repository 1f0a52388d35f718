#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace stage {

/// One element of an XML text with what is in it.
struct XmlElement {
  std::string name;
  std::vector<std::pair<std::string, std::string>> attributes = {};
  std::string text = {};  ///< its own characters, without those of its children
  std::vector<XmlElement> children = {};

  /// The first child of that name; null when there is none.
  [[nodiscard]] const XmlElement* child(std::string_view wanted) const;
  /// Value of the attribute, "" when it has none of that name.
  [[nodiscard]] std::string attribute(std::string_view wanted) const;
};

/// The root of an XML text in UTF-8, with or without a byte-order mark. Nothing when the text
/// is not well-formed: a bare "&" or "<", a byte that is no UTF-8, an element that is not
/// closed. A document type is skipped; entities of its own are not known.
std::optional<XmlElement> readXml(std::string_view bytes);

/// The text as written between tags or in quotes: "&", "<", ">" and quotes as entities.
std::string xmlEscaped(std::string_view text);

}  // namespace stage
