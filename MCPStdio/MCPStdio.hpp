#pragma once

/// All that the author of a server needs. A smaller program may include just the headers it uses.
#include "MCPStdio/MCPServer.hpp"                // the server
#include "MCPStdio/MCPTool.hpp"                  // its tools
#include "MCPStdio/TypedTool.hpp"                // tools whose arguments are your own types
#include "MCPStdio/concurrency/Actor.hpp"        // state that calls change in turn
#include "MCPStdio/concurrency/Continuation.hpp" // waiting for callbacks and blocking calls
#include "MCPStdio/concurrency/Mutex.hpp"        // state that calls share
#include "MCPStdio/concurrency/SyncWait.hpp"     // running a task from main
#include "MCPStdio/json/JSONCoding.hpp"          // JSON forms of your own types
#include "MCPStdio/json/JSONSchema.hpp"          // their schemas
#include "MCPStdio/json/JSONValue.hpp"           // arguments and results
