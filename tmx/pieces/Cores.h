// The cores this process may run on: its affinity, which a container or `taskset` narrows.
#pragma once

int AvailableCores();
