#pragma once

#include "doctor/Places.hpp"
#include "doctor/Report.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <chrono>
#include <map>
#include <string>

/// One examination for each subject. None of them changes, creates or locks anything.
namespace velmiro::doctor {

/// The five kinds of data.
Section examineCalendars(EntityType type, const Bounds& bounds = {});
Section examineContacts(const Bounds& bounds = {});
Section examineNotes(const Bounds& bounds = {});
Section examineMail(const Bounds& bounds = {});

/// The kinds that VELMIRO_ENABLED names.
Section examineEnabled(const std::map<std::string, std::string>& environment);

/// Whether an approval host listens. Connects and closes, without a question.
Section examineHost(std::chrono::milliseconds patience = std::chrono::seconds{2});

/// Which hosts start the server, and whether they wait long enough for the user's answer.
Section examineClients(const std::string& home);

/// Whether the libraries and the programs that the server loads and starts are there.
Section examinePrograms(std::chrono::milliseconds patience = std::chrono::seconds{10});

} // namespace velmiro::doctor
