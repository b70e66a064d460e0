#ifndef KA_PROCESS_H
#define KA_PROCESS_H

/// \file
/// What a daemon settles about its own process before it does anything else.

/// Opens /dev/null on each of the descriptors 0 to 2 that is closed, so that no socket or file ever
/// takes the place of a standard stream.
void OpenStandardDescriptors();

/// Makes standard output line-buffered, also into a pipe or file.
void UseLineBufferedOutput();

/// Gives SIGPIPE an empty handler, so that a vanished reader costs one failed write and not the
/// process. It is a handler and not SIG_IGN because children would inherit the latter.
void SurviveBrokenPipes();

/// Keeps the XML library from tearing itself down in `exit` while listener threads still use it.
/// Must run before the library is used.
void KeepXmlLibraryUntilExit();

/// Lets `exit` write out what is buffered and end the process there: libraries must not tear down
/// what listener threads still use, such as the table that libxml++ keeps of its parsers. Runs
/// before all exit handlers that are registered by then.
void SkipTearDownAtExit();

/// Gives memory that was needed for the start only back to the system.
void ReturnFreeMemory();

#endif
