// Shared by the ThinJson suites: a document from a text that must parse.
#pragma once

#include <gtest/gtest.h>

#include <string_view>

#include <nybase/documents/ThinJson.h>

inline lu::ThinJson::Document MustParse(std::string_view text) {
  auto r = lu::ThinJson::priv::ParseNoComments(lu::BasicStringView<char>(text.data(), text.size()));
  EXPECT_TRUE(r.HasValue()) << text << ": " << (r.HasValue() ? "" : r.Error());
  return r.HasValue() ? std::move(r).Value() : lu::ThinJson::Document();
}
