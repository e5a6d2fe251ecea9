// SPDX-License-Identifier: Apache-2.0
// Has no code: loading this library loads the board's stand-in and then the client library, in this
// order.
