/* Prints a permission number's listing text and a URL's host through the C core. */
#include <rkcore/rpf.h>

#include <stdio.h>
#include <stdlib.h>

int main(void)
{
    char *text = rpf_permissions_octal_to_string(755);
    if (text == NULL) {
        return 1;
    }
    printf("%s\n", text);
    free(text);
    return 0;
}
