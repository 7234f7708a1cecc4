// What the tests do differently on each platform, kept apart from the class library's headers:
// the platform's own declare the Windows types differently.
#pragma once

// Loading and unloading a shared library, as a host does.
void* OpenSharedLibrary(const char* path);
bool CloseSharedLibrary(void* handle);
