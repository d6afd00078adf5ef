/* A C host built against an installed TarvoCore through its CMake package. */
#include <stdio.h>
#include <string.h>

#include <tarvo/tarvo.h>

int main(void) {
    tarvo_qibla qibla;
    if (tarvo_qibla_for(51.5074, -0.1278, &qibla) != TARVO_OK) return 1;
    printf("%s %d\n", tarvo_version(), (int)qibla.bearing_degrees);
    return strcmp(tarvo_version(), TARVO_VERSION_STRING) == 0 ? 0 : 1;
}
