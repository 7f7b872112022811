#include "updates/installation/installer.h"

int main(int argumentCount, char** arguments) {
    ovrel::TreeCalls calls;
    return ovrel::installerMain(calls, argumentCount, arguments);
}
