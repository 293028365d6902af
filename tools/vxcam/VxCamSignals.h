#pragma once
// What vxcam does about signals while it saves a file. The library installs no signal handlers;
// the program does, once, at the start of main.

namespace vxcam {

// Ignores SIGXFSZ, so that a file size limit (ulimit -f) makes a save fail with "File too
// large" and a message naming the file, instead of ending the program without a word.
// Installs handlers for SIGINT, SIGTERM and SIGHUP that remove the temporary file of a save under
// way (the target stays as it was) and then end the program by the same signal with its default
// action, so that the exit status still tells the signal. A signal that was ignored when the
// program started (nohup) stays ignored.
void HandleSignalsDuringSaves();

}  // namespace vxcam
