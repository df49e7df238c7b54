// What the five scripts use of Notes and Mail, for checking them as they stand. The objects are those of
// @jxa/types, which are generated from the applications' own dictionaries; these leave out elements
// (`Notes.notes`), filters and constructors, and take dates and rich text for anything. Not covered: what
// only running shows, such as the order of results, and that `argv` holds as many texts as are read.

import type { Mail } from '@jxa/types/src/core/Mail';
import type { Notes } from '@jxa/types/src/core/Notes';

/** The value that a property gives when it is called. */
type Value<P> = P extends () => infer V ? V : never;

type Condition<V> =
    | V
    | {
          '>'?: V;
          '<'?: V;
          '>='?: V;
          '<='?: V;
          _contains?: string;
          _beginsWith?: string;
          _endsWith?: string;
          _equals?: V;
      };

type Filter<T> =
    { [K in keyof T]?: Condition<Value<T[K]>> } | { _or: Filter<T>[] } | { _and: Filter<T>[] };

interface Elements<T> {
    (): T[];
    readonly length: number;
    whose(filter: Filter<T>): Elements<T>;
    push(element: T): void;
}

interface Folder extends Omit<Notes.Folder, 'container'> {
    notes: Elements<Note>;
}

interface Note extends Omit<Notes.Note, 'container' | 'modificationDate' | 'plaintext'> {
    container(): Folder;
    modificationDate(): Date;
    plaintext(): string;
}

interface NotesApplication {
    notes: Elements<Note>;
    folders: Elements<Folder>;
    defaultAccount(): { defaultFolder(): Folder };
    Note(properties: { body: string }): Note;
}

interface Message extends Omit<Mail.Message, 'content' | 'dateReceived'> {
    content(): string;
    dateReceived(): Date;
    toRecipients: Elements<Mail.Recipient>;
}

interface OutgoingMessage extends Omit<Mail.OutgoingMessage, 'save'> {
    toRecipients: Elements<Mail.Recipient>;
    ccRecipients: Elements<Mail.Recipient>;
    save(): void;
}

interface MailApplication {
    inbox: { messages: Elements<Message> };
    outgoingMessages: Elements<OutgoingMessage>;
    OutgoingMessage(properties: {
        subject: string;
        content: string;
        visible: boolean;
    }): OutgoingMessage;
    ToRecipient(properties: { address: string }): Mail.Recipient;
    CcRecipient(properties: { address: string }): Mail.Recipient;
}

declare global {
    function Application(name: 'Notes'): NotesApplication;
    function Application(name: 'Mail'): MailApplication;
}
