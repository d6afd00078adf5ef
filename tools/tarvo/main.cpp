// tarvo: prayer times, qibla and the user's cities at the terminal.
#include "Commands.h"

int main(int argc, char** argv) { return tarvo::cli::run(argc, argv); }
