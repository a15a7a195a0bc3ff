#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "channels/codec/module_support.h"
#include "channels/pdf/page_tree.h"

namespace quillbay {

/// What adding a page must know of a file.
struct PdfState {
  bool started = false;         ///< it has a head
  std::int64_t base = 0;        ///< bytes before the head; places in the file are counted from it
  std::int64_t lastXref = 0;    ///< of the newest complete state; 0: none
  bool hasXrefStreams = false;  ///< its newest list of objects is a stream
  int nextObject = 1;
  PdfRef catalog, info;
  std::string catalogText;  ///< its dictionary without the tree of pages, up to before the last ">>"
  PdfRef catalogPages;      ///< the tree's root as the catalog in the file has it
  bool hasIntent = false;   ///< it says what its colours mean
  std::string firstId;      ///< 16 bytes
  PageTree tree;
  /// Profiles that are objects of the file.
  struct Profile {
    std::string bytes;
    PdfRef ref;
  };
  std::vector<Profile> profiles;
};

/// Objects at the end of a file, and what makes them part of the document: a list of them that refers to the one
/// before, and the place of that list, which is changed last. Until then the end names the state before, so that a
/// file whose writing was cut short at that moment is the document that it was.
class PdfUpdate {
 public:
  explicit PdfUpdate(const EdgeFile& file, std::int64_t base) : m_file(file), m_base(base) {}

  /// Starts an object at the file's end; what follows of it is appended to the file.
  void start(PdfRef ref, std::string_view text);
  /// A whole object. Objects are gathered: what makes a page part of the document is one write, so that a program
  /// that is killed leaves no half of it.
  void add(PdfRef ref, std::string_view text);
  void add(const PdfObjects& objects);
  /// A whole stream that is not coded. `words` are the entries of its dictionary.
  void addStream(PdfRef ref, std::string_view words, std::string_view bytes);
  /// Writes the list of objects and the end, and asks for the change that makes them valid. The state is that with
  /// the objects then.
  void finish(PdfState& state);

 private:
  struct Entry {
    PdfRef ref;
    std::int64_t place;
  };
  [[nodiscard]] std::string trailerWords(const PdfState& state) const;
  void appendTable(const PdfState& state);
  void appendStreamList(PdfState& state);
  void note(PdfRef ref);
  void flush();

  EdgeFile m_file;
  std::int64_t m_base;
  std::vector<Entry> m_entries;
  std::string m_text;  // behind the file's end
};

}  // namespace quillbay
