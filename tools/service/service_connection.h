// What this process itself has to do with player services; the rest is the module's business.
#pragma once

// Whether a player service answers where this process looks for services.
bool player_service_answers();

// Lets services call back, as the audio server does: a player's events arrive on threads that this
// starts.
void serve_callbacks();
