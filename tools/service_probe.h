// Whether a player service answers where this process looks for services.
#pragma once

bool player_service_answers();
