#pragma once
/// Network scan servers: other programs that watch a folder, the hot folder, and pass the pages in it on to their
/// clients. Their settings, and the queue of the pages that were scanned for them.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "quillbay/export.h"
#include "quillbay/kx_unknown.h"

namespace quillbay {

/// The key of the chosen client (`NetClient::text`) among the settings of Scan To Net.
inline constexpr char kNetUserKey[] = "User";

/// A client of a server.
struct NetClient {
  std::string path;        ///< "\\SCANPC1"
  std::string hotFolder;   ///< of its server, with a delimiter at its end
  std::string text;        ///< for users: "KX:\\SCANPC1"
  std::string mountPoint;  ///< the hot folder is in what is mounted there; empty: not known
};

/// The clients of all servers, those of the current server first. Reads the settings.
[[nodiscard]] QUILLBAY_API std::vector<NetClient> ListNetClients();

/// The settings of the current server.
struct NetServer {
  std::string hotFolder;             ///< empty: none
  std::vector<std::string> clients;  ///< their names, without backslashes
};
[[nodiscard]] QUILLBAY_API NetServer GetNetServer();
/// Saves them. The mount that holds the hot folder now is noted, so that pages wait while it is not mounted.
/// Returns 1, or 0 with the reason in `*why`: a name that no client can have, no absolute path, or settings that
/// cannot be written.
QUILLBAY_API int SetNetServer(const NetServer& server, std::string* why);
/// Why no client can have this name, for users; empty for a good one.
[[nodiscard]] QUILLBAY_API std::string NetClientProblem(const std::string& name);

/// What was found out of a hot folder.
struct HotFolderState {
  enum Fate {
    Ready,
    Away,    ///< not there, not mounted, full, or it does not answer: pages wait until it is back
    Refuses  ///< a file, read-only, or not permitted: a user has to change that
  } fate = Ready;
  std::string why;              ///< for users, without the folder; empty when it is ready
  std::int64_t freeBytes = -1;  ///< -1: unknown
  std::string mountPoint;       ///< what is mounted there holds the folder; "/" for the system's own disk
  std::string fileSystem;       ///< "nfs4", "cifs", "ext4"
};
/// Looks at a folder, for at most `limitMs`, and writes nothing. `mountPoint` as in `NetClient`. Any thread.
[[nodiscard]] QUILLBAY_API HotFolderState TryHotFolder(const std::string& folder, const std::string& mountPoint,
                                                       int limitMs);

/// A page that waits to be handed to its server.
struct NetPage {
  enum State {
    Waiting,
    Sending,
    Stuck  ///< it cannot be handed off as it is: `why` says the reason; pages behind it are not held up
  };
  std::string id;
  std::string file;    ///< the name that it gets in the hot folder, with folder
  std::string folder;  ///< the hot folder
  std::string client;  ///< "\\SCANPC1"
  std::string kept;    ///< the file that holds it now
  State state = Waiting;
  std::string why;  ///< what it waits for, for users; empty at first
};

/// The pages that wait, of all programs of the user, in their order. They are files in the state folder: they wait
/// also while no program runs. As long as one holds this object, each page is copied into its hot folder, complete
/// by one rename, then its hand-off file; what failed is tried again. Any thread.
class INetQueue : public IKxUnknown {
 public:
  [[nodiscard]] virtual std::vector<NetPage> GetPages() = 0;
  /// Deletes a page that waits. Returns 1, or 0 with the reason in `*why`: it is being sent, or has been.
  virtual int Remove(const std::string& id, std::string* why) = 0;
  /// Hands a page to another client, of whatever server. Returns 1, or 0 with the reason in `*why`.
  virtual int Reassign(const std::string& id, const NetClient& client, std::string* why) = 0;
  /// Does not wait for the next try.
  virtual void TryNow() = 0;
  /// Waits until no page waits but those that are stuck, for at most `limitMs`. Returns the number of pages that
  /// are left.
  virtual int Wait(int limitMs) = 0;
  /// The name that a page got in its hot folder, with folder, when this process handed it off lately; else empty.
  [[nodiscard]] virtual std::string GetHandedName(const std::string& id) = 0;
  /// `changed` is called on any thread when a page was added, sent or failed; it does not call the queue. Returns a
  /// number for `Unadvise`, after which it is not called any more.
  virtual int Advise(std::function<void()> changed) = 0;
  virtual void Unadvise(int number) = 0;
};

/// The queue of this process, in the state folder of the application object that was made last; made when nobody
/// holds it. Pages that a killed program left complete join it.
[[nodiscard]] QUILLBAY_API KxPtr<INetQueue> OpenNetQueue();

}  // namespace quillbay
