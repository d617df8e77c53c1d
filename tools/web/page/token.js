// The token by which the server knows this page; it comes with the address that the page is opened by.

const kName = "token";

/** Takes it out of the address. Pages that are opened without one find it; those of another port do not. */
export function takeToken() {
    const token = new URLSearchParams(location.search).get(kName);
    if (token !== null) {
        localStorage.setItem(kName, token);
        history.replaceState(null, "", "/");
    }
}

/** The header that has it. */
export function authorization() {
    return { Authorization: `Bearer ${localStorage.getItem(kName) ?? ""}` };
}
