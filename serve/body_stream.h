#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace orv::serve {

/// The body of an answer that comes piece by piece, as long as the client listens.
///
/// Any thread appends; the HTTP server reads. A client that listens to nothing costs a connection
/// and no thread.
class BodyStream {
 public:
  /// Holds at most `limit` bytes that the client has not taken. `beat` is what it is sent from time
  /// to time when there is nothing else, so that both sides notice when the other has gone.
  BodyStream(std::size_t limit, std::string beat) : limit_(limit), beat_(std::move(beat)) {}
  BodyStream(const BodyStream&) = delete;
  BodyStream& operator=(const BodyStream&) = delete;

  /// False when the body has ended. It ends here when the client is too slow for the limit; what
  /// waits is still sent then, this text is not. Fails: std::bad_alloc.
  bool append(std::string_view text);
  /// No more will come. Idempotent.
  void end();
  bool ended() const;

  /// Who reads. Its members are called under the stream's lock and must not call the stream.
  class Reader {
   public:
    virtual ~Reader() = default;
    virtual void pause() = 0;  ///< there is nothing to read
    virtual void goOn() = 0;   ///< there is; once after each pause
  };
  enum class State { kData, kPaused, kEnded };
  /// Copies what waits, at most `size` bytes; `taken` is how many.
  State read(Reader& reader, char* to, std::size_t size, std::size_t& taken);
  /// Sends a beat when the reader waits. False when it does not: the client has not taken what it
  /// was given before. Fails: std::bad_alloc.
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
