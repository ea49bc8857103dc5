// Whole-file operations. Any thread may call them; they block on the disk and never throw for a
// failure of it. Paths are wide text in the system's own form.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quillgate::platform {

// Whether there is a file or a folder at `path`.
[[nodiscard]] bool pathExists(const std::wstring& path);

// The whole file; empty when it cannot be read or has more than `maxBytes` bytes.
[[nodiscard]] std::optional<std::vector<std::byte>> readFile(const std::wstring& path,
                                                             std::size_t maxBytes);

// Opens the file at `path` for appending, creating it if it is missing, writes `bytes` at its end
// with one write and closes it. Others may read the file meanwhile. False when it cannot be opened
// or written.
bool appendToFile(const std::wstring& path, std::span<const std::byte> bytes);

// Makes `bytes` the content of the file at `path`. Whoever opens the path finds the old content or
// the new one, whole, even if the process or the system ends in between: the bytes go into a file
// beside it (the path with ".quillgate-new" behind it) that is flushed and then takes its place.
// One that an ended process has left is used again. Two that save to one path at once take turns.
//
// What a file has besides its content stays: on POSIX its mode; on Windows its access list, its
// other streams, its time of creation, and whether it is hidden, of the system, or not indexed.
//
// The file itself is written where none can be created beside it or take its place, for example
// because the longer name is too long; where a new one cannot have those rights; and on Windows
// behind a link. Only then can the system's end leave half of it. A link stays one. A file that may
// not be written is left alone. On false the old content is there, or no file if there was none.
[[nodiscard]] bool replaceFile(const std::wstring& path, std::span<const std::byte> bytes);

// Creates the file at `path`, or empties the one that is there, and writes each of `parts` that is
// not empty with one write. Others may read the file meanwhile. On false the file stays as far as
// it got.
[[nodiscard]] bool writeFileAnew(const std::wstring& path,
                                 std::initializer_list<std::span<const std::byte>> parts);

// Deletes the file; false when there is none or the system refuses. Where others may keep it from
// being deleted by having it open, on Windows, it is tried again for up to 0.2 s.
bool removeFile(const std::wstring& path);

}  // namespace quillgate::platform
