// What the process needs before it handles secrets.
#ifndef DERKIT_TOOLS_IO_PROCESS_H
#define DERKIT_TOOLS_IO_PROCESS_H

// To be called first. Throws failure_t.
//
// - A standard stream that is closed stays unusable, so that no file gets its descriptor, and with it the messages.
// - No core dump is written, which would contain keys and passwords, and other processes of the same user cannot read
//   the memory.
// - A closed pipe and a file that becomes too large are errors of writing like any other.
void prepare_process();

#endif
