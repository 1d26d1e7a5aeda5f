// The keys of a field for digits.
import "../.."

Pages {
    firstPage: digits
}
