// Identifiers of the module's string resources.
#pragma once

#define IDS_NOTE_MERGE 1
#define IDS_ERROR_CREATING_PARSER 62787
#define IDS_PARSING_TMX_FILE 62788
#define IDS_PERCENT_COMPLETED 62789
