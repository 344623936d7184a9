#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace orv::serve {

/// The body of an answer that is sent piece by piece for as long as the client listens.
///
/// Any thread appends; the HTTP server reads. A stream on which nothing happens takes a connection,
/// but no thread.
class BodyStream {
 public:
  /// Holds at most `limit` bytes that the client has not yet taken. `beat` is the text sent from
  /// time to time when there is nothing else, so that each side notices when the other is gone.
  BodyStream(std::size_t limit, std::string beat) : limit_(limit), beat_(std::move(beat)) {}
  BodyStream(const BodyStream&) = delete;
  BodyStream& operator=(const BodyStream&) = delete;

  /// False when the body has ended. A text that would exceed the limit ends it: the client is too
  /// slow. What is waiting is still sent then, this text is not. Fails: std::bad_alloc.
  bool append(std::string_view text);
  /// Nothing more will be appended. Idempotent.
  void end();
  bool ended() const;

  /// What is told of the stream's state. Its members are called with the stream's lock held and
  /// must not call the stream.
  class Reader {
   public:
    virtual ~Reader() = default;
    virtual void pause() = 0;  ///< there is nothing to read
    virtual void goOn() = 0;   ///< there is again; called once after each pause
  };
  enum class State { kData, kPaused, kEnded };
  /// Copies what is waiting, at most `size` bytes, and sets `taken` to their number. When nothing
  /// is waiting, pauses the reader.
  State read(Reader& reader, char* to, std::size_t size, std::size_t& taken);
  /// Sends a beat when the reader is paused. False when it is not: the client has not taken what it
  /// was sent before. Fails: std::bad_alloc.
  bool beat();
  /// The reader is gone, and with it the client.
  void abandon();

 private:
  void wake();

  const std::size_t limit_;
  const std::string beat_;
  mutable std::mutex mutex_;  // guards what follows; nothing is locked under it
  std::string waiting_;
  std::size_t taken_ = 0;  // of `waiting_`
  Reader* paused_ = nullptr;
  bool ended_ = false;
};

}  // namespace orv::serve
