// FileDocument: the base of the classes that own one XML document and load it from and save
// it to a file (an instrument library, a merge file, a logger definition file, templates,
// systems, a scheme). It keeps the document with its declaration, the root element, the file
// last loaded and the reason the last load failed.
#pragma once

#include <string>
#include <string_view>

#include "corvale/binding/node_access.h"
#include "corvale/core/atomic_file.h"
#include "corvale/xml/xml.h"

namespace corvale {

class FileDocument {
 public:
  // The file last loaded (or saved, where the class remembers saves).
  const std::string& File() const { return file_; }
  // Why the last load did not parse (errorCode 0 when it did).
  const xml::ParseError& ParseError() const { return document_.parseError(); }
  xml::Document Document() const { return document_; }
  // The name of the root element the last load found, empty when it failed to parse. A file
  // that parsed with a root of another name is reported by it without being read again (it
  // may be a pipe).
  const std::string& LoadedRootName() const { return loadedRoot_; }

  // A save over the file this document was read from (or last saved to) is refused with
  // error kFileChanged when the file changed on disk since then (another size, modification
  // time or file), so that one writer does not silently undo another's save. True lets the
  // saves that follow overwrite such changes.
  void OverwriteChangedFile(bool overwrite) { overwriteChanged_ = overwrite; }

 protected:
  // A new document holding the declaration (version = "1.0" encoding="windows-1252") and a
  // root element of that name, made by the element factory; the root is appended to the
  // document unless attachRoot is false (a set that was never loaded then saves as the
  // declaration alone). An empty name makes no root.
  explicit FileDocument(std::string_view rootName, bool attachRoot = true);
  ~FileDocument() = default;
  FileDocument(const FileDocument&) = delete;
  FileDocument& operator=(const FileDocument&) = delete;

  // Loads the file into the document. On failure the document stays as it was and
  // ParseError() says why. The root and the remembered file are left to the caller, whose
  // rules differ on when a load counts (a parse, or a parse with the right root).
  bool LoadFile(const std::string& path);
  // Saves the document to path, or to the remembered file when path is empty, holding the
  // file's lock (FileLock) and replacing it atomically (ReplaceFile). A failure rises as
  // corvale::Error; the file name is not remembered here.
  void SaveTo(const std::string& path);

  // Declared first: the factory document must exist before the root is made.
  FactoryUser factory_user_;
  xml::Document document_;
  xml::Node root_;
  std::string file_;

 private:
  std::string loadedRoot_;
  // The file last read or written, after symbolic links, and its stamp then.
  std::string knownPath_;
  FileStamp knownStamp_;
  bool overwriteChanged_ = false;
};

}  // namespace corvale
