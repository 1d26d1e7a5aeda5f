// The keys of a field for any text.
import "../.."

Pages {}
