// tsinsert-preview: shows what viewers of the articles will see.

#include "preview.h"

int main(int argc, char** argv)
{
    return run_preview(argc, argv);
}
