// Conventions of RKCore's C++ object layer (namespace rk), stated once here and
// followed by every class. Including this header brings in nothing but the
// export macro.
//
// Objects and ownership
//   Reference-counted objects are held in std::shared_ptr. Every class is made
//   through static factories named for what they do (RBURL::initWithString,
//   RBPermission::initWithNumber); constructors are private. A factory that
//   cannot make its object answers nullptr. copy() answers a new, independent
//   object. A reference that does not keep its target alive (a delegate, a
//   target, an observer) is a std::weak_ptr or a raw pointer whose lifetime
//   rule the header states.
//
// Shared instances
//   sharedFoo() answers a reference to the one instance, made on first use
//   (thread-safe) and alive until the process ends.
//
// Nil, empty and sentinels
//   A missing text is a null QString (QString::isNull()), distinct from the
//   empty text "". A missing object is nullptr. Where a function answers a
//   special value instead of a result (-1 for "none"), the header names it, or
//   the function answers std::optional / a small struct instead.
//
// Records of the C core
//   A class that wraps an rpf_* record owns it unless its header says
//   otherwise, and frees it when the object goes away. Accessors that answer a
//   record answer the object's own (do not free it).
//
// Failure
//   Run-time failures answer nullptr, a null QString, false or 0. Where a
//   class's header names a message for a failure, that one line is written to
//   the "rkcore" logging category (rkcore/Logging.h), with the header's exact
//   text; where it names none, the answer alone reports it and nothing is
//   logged (the labels and aliases, a text that does not parse, a volume whose
//   figures cannot be read: their callers expect a quiet nil). Programming
//   errors (a required argument missing) throw rk::AssertionFailure
//   (rkcore/AssertionFailure.h). Nothing else throws, and no exception crosses
//   into the C core.
//
// Threads
//   Objects are not synchronised unless their header says so: use each from
//   one thread at a time. Services that own threads report back on the
//   creating thread's Qt event loop through rk::LocalPort.
//
// Secrets
//   No password is ever written to a log, a diagnostic or an encapsulated URL
//   text, except where a header says so explicitly (RBURL::dump).
//   The C core's tracing functions (the AFP and SMB URL parsers above all)
//   write to standard output, password included, when the application calls
//   them directly (rkcore/rpf_diagnostics.h chooses another stream). When an
//   object-layer call runs them (RBURL's factories and copy), their traces of
//   that call go instead to the "rkcore" category at debug level (off unless
//   enabled, e.g. QT_LOGGING_RULES="rkcore.debug=true"), one message per line,
//   with every occurrence of the password and what the traces show of it (its
//   length, its last character) replaced by "********". The redirection is the
//   calling thread's own (rpf_diagnostics_set_thread_callback): two threads
//   parsing at once each log only their own traces, and the process-wide
//   setting stays as the application made it.
#pragma once

#include <rkcore/rkcore_export.h>
