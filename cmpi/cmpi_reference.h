#pragma once

#include <string>

#include "cmpi/cmpi_data.h"
#include "cmpi/cmpi_object_path.h"
#include "cmpi/cmpi_status.h"

/// Thrown for an object path that cannot be carried as a reference: CMPI_RC_ERR_INVALID_PARAMETER,
/// with a text that says why.
class CmpiReferenceError : public CmpiStatus {
 public:
  explicit CmpiReferenceError(const std::string& reason);
};

/// Refuses a reference to a path that an object manager cannot carry; accepts every other value.
/// The binding's setters call it before the object manager sees the value.
///
/// sfcb stores a reference as text and takes the text apart at every read:
///
///     reference = [namespace ":"] class ["." key *("," key)]
///     key       = name "=" (number | '"' text '"' | reference)
///
/// It writes the text into a buffer of 4,096 bytes without checking the length, escapes nothing,
/// and crashes on some texts that it cannot take apart; others become a null reference, which ends
/// the process that sends it to a client. So a path is refused
/// - when its text is longer than 4,095 characters;
/// - when it has no class, or a "." in namespace or class (the first "." begins the keys);
/// - for a ":" in the namespace, and for any ":" where there is no namespace (the first ":" ends
/// it);
/// - for a key whose name has no letter or digit, or has one of `=",`;
/// - for a key with a '"' in its text;
/// - for a key that is a reference itself (nothing shows where its keys end), or a real number (its
///   "." reads as the beginning of such a key's keys).
/// Commas, dots, colons and backslashes in the text of a key are carried. Null and boolean keys are
/// lost on the way, which does no harm.
///
/// The path is read back through the broker's tables, unless its handle made the path and can prove
/// that it is carried (CmpiReferenceText).
///
/// Fails: CmpiReferenceError; CmpiStatus of the broker.
void requireCarriable(const CmpiData& value);
void requireCarriable(const CmpiObjectPath& path);

/// Runs `work`, which returns one object of the host. An object whose path cannot be carried as a
/// reference is left out of the answer, so that the others are still returned.
template <typename Work>
void leavingOutUncarriable(Work work) {
  try {
    work();
  } catch (const CmpiReferenceError&) {
  }
}
