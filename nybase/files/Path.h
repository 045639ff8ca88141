// lu::Path and lu::FsPath: a path value in Windows grammar, kept exactly as given.
#pragma once

#include <string>
#include <utility>

#include <nybase/text/BasicStringView.h>
#include <nybase/text/CStdStr.h>

namespace lu {

// The filesystem path value: one wide string in native (Windows) form.
class FsPath {
 public:
  FsPath() = default;
  explicit FsPath(CStdStr<wchar_t> text) : m_text(std::move(text)) {}
  FsPath(const FsPath&) = default;
  FsPath& operator=(const FsPath&) = default;
  // A moved-from path is empty.
  FsPath(FsPath&& o) noexcept : m_text(std::move(o.m_text)) { o.m_text.clear(); }
  FsPath& operator=(FsPath&& o) noexcept {
    if (this != &o) {
      m_text = std::move(o.m_text);
      o.m_text.clear();
    }
    return *this;
  }

  const CStdStr<wchar_t>& native() const noexcept { return m_text; }
  CStdStr<wchar_t>& native() noexcept { return m_text; }

 private:
  CStdStr<wchar_t> m_text;
};

// A path value. No constructor normalises, trims or checks the text.
class Path {
 public:
  Path() = default;
  Path(const wchar_t* text) : m_fsPath(CStdStr<wchar_t>(text ? text : L"")) {}
  Path(const CStdStr<wchar_t>& text) : m_fsPath(text) {}
  Path(CStdStr<wchar_t>&& text) : m_fsPath(std::move(text)) {}
  Path(FsPath&& fsPath) : m_fsPath(std::move(fsPath)) {}
  Path(const Path&) = default;
  Path(Path&&) noexcept = default;
  Path& operator=(const Path&) = default;
  Path& operator=(Path&&) noexcept = default;
  virtual ~Path() = default;

  FsPath& GetFsPath() noexcept { return m_fsPath; }
  const FsPath& GetFsPath() const noexcept { return m_fsPath; }

  // A copy of the text.
  CStdStr<wchar_t> GetFullPath() const { return m_fsPath.native(); }
  operator CStdStr<wchar_t>() const { return m_fsPath.native(); }
  // The stored text without a copy.
  operator BasicStringView<wchar_t>() const noexcept { return m_fsPath.native(); }
  operator const std::wstring&() const noexcept { return m_fsPath.native(); }
  const wchar_t* c_str() const noexcept { return m_fsPath.native().c_str(); }

  bool IsEmpty() const noexcept { return m_fsPath.native().empty(); }
  Path& Clear() noexcept {
    m_fsPath.native().clear();
    return *this;
  }
  // Replaces the text as it stands.
  void SetFullPath(const CStdStr<wchar_t>& text) { m_fsPath.native() = text; }

 private:
  FsPath m_fsPath;
};

}  // namespace lu
