#pragma once

#include "demo/Stage.hpp"

/// What the agent does with each kind of data, scene by scene.
namespace velmiro::demo {

void calendarScene(Stage& stage);
void remindersScene(Stage& stage);
void contactsScene(Stage& stage);
void notesScene(Stage& stage);
void mailScene(Stage& stage);

} // namespace velmiro::demo
