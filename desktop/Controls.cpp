#include "desktop/Controls.h"

#include "tools/Translation.h"

#include <memory>

namespace {

// What a message window keeps until it is answered.
struct Answers {
    std::vector<MessageChoice> choices;
    std::function<void()> dismissed;
};

// Runs `then` after the message is gone, so that it may open another message or close the owner.
void Answer(GtkWindow* message, std::function<void()> then) {
    gtk_window_destroy(message);
    if (then)
        then();
}

} // namespace

GtkWidget* NamedButton(const char* mnemonic, const char* name) {
    GtkWidget* button = gtk_button_new_with_mnemonic(mnemonic);
    gtk_widget_set_name(button, name);
    // GTK names the button with the raw mnemonic text and then again through its label; one
    // name, as it reads, is what a screen reader should say.
    const char* reads = gtk_label_get_text(GTK_LABEL(gtk_button_get_child(GTK_BUTTON(button))));
    gtk_accessible_update_property(GTK_ACCESSIBLE(button), GTK_ACCESSIBLE_PROPERTY_LABEL, reads,
                                   -1);
    gtk_accessible_reset_relation(GTK_ACCESSIBLE(button), GTK_ACCESSIBLE_RELATION_LABELLED_BY);
    return button;
}

GtkWindow* ShowMessage(GtkWindow* owner, const std::string& heading, const std::string& detail,
                       std::vector<MessageChoice> choices, std::function<void()> dismissed) {
    // Alert rather than alert dialog: GTK tells assistive technology the latter as a plain dialog.
    auto* message = GTK_WINDOW(
        g_object_new(GTK_TYPE_WINDOW, "accessible-role", GTK_ACCESSIBLE_ROLE_ALERT, nullptr));
    gtk_window_set_title(message, _("Background Colour"));
    if (owner) {
        gtk_window_set_transient_for(message, owner);
        gtk_window_set_modal(message, TRUE);
        gtk_window_set_destroy_with_parent(message, TRUE);
    }
    gtk_window_set_resizable(message, FALSE);

    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    gtk_widget_set_margin_top(box, 18);
    gtk_widget_set_margin_bottom(box, 18);
    gtk_widget_set_margin_start(box, 24);
    gtk_widget_set_margin_end(box, 24);
    gtk_window_set_child(message, box);
    GtkWidget* title = gtk_label_new(heading.c_str());
    gtk_widget_add_css_class(title, "title-4");
    gtk_box_append(GTK_BOX(box), title);
    GtkWidget* body = gtk_label_new(detail.c_str());
    gtk_widget_set_name(body, "detail");
    gtk_label_set_wrap(GTK_LABEL(body), TRUE);
    gtk_label_set_max_width_chars(GTK_LABEL(body), 50);
    gtk_box_append(GTK_BOX(box), body);
    gtk_accessible_update_property(GTK_ACCESSIBLE(message), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                   heading.c_str(), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                   detail.c_str(), -1);

    GtkWidget* row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
    gtk_widget_set_halign(row, GTK_ALIGN_END);
    gtk_box_append(GTK_BOX(box), row);
    auto* answers = new Answers{std::move(choices), std::move(dismissed)};
    g_object_set_data_full(G_OBJECT(message), "answers", answers,
                           [](gpointer data) { delete static_cast<Answers*>(data); });
    GtkWidget* last = nullptr;
    for (const MessageChoice& choice : answers->choices) {
        last = NamedButton(choice.mnemonic, choice.name);
        gtk_box_append(GTK_BOX(row), last);
        g_object_set_data(G_OBJECT(last), "choice", const_cast<MessageChoice*>(&choice));
        g_signal_connect(last, "clicked", G_CALLBACK(+[](GtkWidget* button, GtkWindow* window) {
                             auto* choice = static_cast<MessageChoice*>(
                                 g_object_get_data(G_OBJECT(button), "choice"));
                             Answer(window, choice->chosen);
                         }),
                         message);
    }
    if (last) {
        gtk_widget_add_css_class(last, "suggested-action");
        gtk_window_set_default_widget(message, last);
        gtk_widget_grab_focus(last);
    }

    g_signal_connect(message, "close-request", G_CALLBACK(+[](GtkWindow* window, gpointer) {
                         auto* answers =
                             static_cast<Answers*>(g_object_get_data(G_OBJECT(window), "answers"));
                         Answer(window, answers->dismissed);
                         return TRUE;
                     }),
                     nullptr);
    GtkEventController* keys = gtk_shortcut_controller_new();
    gtk_shortcut_controller_add_shortcut(
        GTK_SHORTCUT_CONTROLLER(keys), gtk_shortcut_new(gtk_shortcut_trigger_parse_string("Escape"),
                                                        gtk_named_action_new("window.close")));
    gtk_widget_add_controller(GTK_WIDGET(message), keys);
    gtk_window_present(message);
    return message;
}
