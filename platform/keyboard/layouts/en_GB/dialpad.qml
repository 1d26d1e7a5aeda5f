// The keys of a field for a number to dial.
import "../.."

Pages {
    firstPage: digits
}
