/* RKCore's C core, all topics. Usable from C (C11) and C++; no Qt.
 *
 * Conventions: functions are named rpf_<record>_<operation>; records are
 * allocated by the core and owned by the caller; every returned text is a
 * fresh malloc buffer the caller frees, except where a header says otherwise.
 * Failures are return values (null, 0, -1, -1234); nothing is raised, and no
 * input makes a function read or write outside its arguments.
 */
#ifndef RKCORE_RPF_H
#define RKCORE_RPF_H

#include <rkcore/rpf_array.h>
#include <rkcore/rpf_date.h>
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_fso.h>
#include <rkcore/rpf_path.h>
#include <rkcore/rpf_perms.h>
#include <rkcore/rpf_size.h>
#include <rkcore/rpf_url.h>

#endif /* RKCORE_RPF_H */
