// The words of a command, as a shell would tell them apart.

const kWord = /(?:"[^"]*"?|'[^']*'?|[^\s"'])+/g;

/** The words of a text. Quotes keep spaces. */
export function wordsOf(text) {
    return (text.match(kWord) ?? []).map((word) => word.replace(/"([^"]*)"?|'([^']*)'?/g, "$1$2"));
}

/** The same, with the word that is just being typed as the last one, which may be empty. */
export function typedWordsOf(text) {
    const words = wordsOf(text);
    return text === "" || /\s$/.test(text) ? [...words, ""] : words;
}
