#pragma once

/// All that the author of a server needs. A smaller program may include just the headers it uses.
#include "MCPStdio/MCPServer.hpp"                // the server
#include "MCPStdio/MCPTool.hpp"                  // its tools
#include "MCPStdio/concurrency/Continuation.hpp" // waiting for callbacks and blocking calls
#include "MCPStdio/concurrency/SyncWait.hpp"     // running a task from main
#include "MCPStdio/json/JSONCoding.hpp"          // JSON forms of your own types
#include "MCPStdio/json/JSONValue.hpp"           // arguments and results
