#include "app.h"

int main(int argc, char** argv) { return static_cast<int>(qmsg::Application().Run(argc, argv)); }
