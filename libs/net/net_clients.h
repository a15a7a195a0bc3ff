#pragma once
#include <string>
#include <vector>

#include "quillbay/param.h"
#include "quillbay/scan_server.h"

namespace quillbay {

/// Appends the clients in a server's key: none without the sections "Network" and "USERS" and a hot folder. `label`
/// comes before the name that users see. A name that no client can have is logged and left out.
void readNetClients(IParam* server, const std::string& label, std::vector<NetClient>* out);

/// The key of the current server, by what the information library says; empty without it.
[[nodiscard]] std::string currentServerKey();

}  // namespace quillbay
