#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "broker/class_repository.h"
#include "broker/mof_lexer.h"
#include "broker/mof_reader.h"

namespace orv::broker {

/// Parses one MOF text for a MofReader, which owns everything that is kept.
class MofParser {
 public:
  MofParser(MofReader& reader, std::string_view text, const std::string& file);

  /// Parses the whole text. Fails: MofError.
  void parse();

 private:
  using Qualifiers = std::vector<QualifierValue>;

  // Tokens.
  void advance() { token_ = lexer_.next(); }
  bool atSymbol(char symbol) const;
  bool atWord(std::string_view word) const;
  bool acceptSymbol(char symbol);
  bool acceptWord(std::string_view word);
  void expectSymbol(char symbol);
  std::string take();
  std::string expect(MofToken::Kind kind, const char* what);
  std::string expectIdentifier(const char* what) {
    return expect(MofToken::Kind::identifier, what);
  }
  std::string expectString(const char* what) { return expect(MofToken::Kind::string, what); }
  std::string tokenText() const;
  [[noreturn]] void fail(const std::string& message) const { lexer_.fail(token_.line, message); }
  [[noreturn]] void failAt(int line, const std::string& message) const {
    lexer_.fail(line, message);
  }

  // Productions.
  void pragma();
  void include(const std::string& name, int line);
  void qualifierDeclaration();
  void classDeclaration(Qualifiers qualifiers);
  void feature(ClassDefinition& owner);
  void property(ClassDefinition& owner, CMPIType type, std::string referenceClass,
                Qualifiers qualifiers);
  void method();
  void parameter();
  bool arraySuffix();
  Qualifiers qualifierList();
  QualifierValue qualifier();
  std::vector<std::string> qualifierValues(CMPIType type);
  CMPIType dataType();
  std::optional<std::vector<std::string>> initializer(CMPIType type);
  std::string literal(CMPIType elementType);
  std::string integerLiteral(CMPIType type);

  MofReader& reader_;
  std::string file_;
  MofLexer lexer_;
  MofToken token_;
};

}  // namespace orv::broker
