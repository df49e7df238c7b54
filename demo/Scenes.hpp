#pragma once

#include "demo/Stage.hpp"

/// What the agent does: all of it in brief, or with each kind of data, scene by scene.
namespace velmiro::demo {

void overviewScene(Stage& stage);

void calendarScene(Stage& stage);
void remindersScene(Stage& stage);
void contactsScene(Stage& stage);
void notesScene(Stage& stage);
void mailScene(Stage& stage);

} // namespace velmiro::demo
