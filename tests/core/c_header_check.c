/* Compiled as C11: the public headers of the core must stay valid C. */
#include <rkcore/rpf.h>

int rpf_c_header_check(void);

int rpf_c_header_check(void)
{
    rpf_perms perms = {0};
    rpf_toggle_permission(0, &perms);
    return rpf_check_for_permission(0, &perms);
}
