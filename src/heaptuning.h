// Process-wide heap settings that make loading a map cheap on machines where page faults are dear.
#pragma once

// Call once at the start of main, before anything large is allocated. Harmless where the C library
// or the kernel does not offer the settings (other allocators, sanitizers, no transparent huge pages).
void TuneHeapForMapLoading();
