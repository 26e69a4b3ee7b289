// Test and benchmark hooks of the field collection.
#ifndef QEL_SRC_FIELDS_QEL_RECORD_FIELDS_INTERNAL_H_
#define QEL_SRC_FIELDS_QEL_RECORD_FIELDS_INTERNAL_H_

namespace qel::internal {

// Forgets the signature texts the calling thread has verified, so that the next assignment
// of any text is verified again.
void ForgetVerifiedLayoutsForTesting();

}  // namespace qel::internal

#endif  // QEL_SRC_FIELDS_QEL_RECORD_FIELDS_INTERNAL_H_
