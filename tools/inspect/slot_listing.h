/// Prints the slots of a parsed CMC with their main fields.
#pragma once

#include "qo_cmc/parsed_cmc.h"

void list_slots(const parsed_cmc& cmc);
