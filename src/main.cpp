#include "session/modPrincipal.h"

int main(int argc, char *argv[])
{
    return modPrincipal::run(argc, argv);
}
